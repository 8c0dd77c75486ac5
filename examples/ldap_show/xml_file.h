// SPDX-License-Identifier: Apache-2.0
//
// The XML file of the tables: one element `ldap` that holds an element a record, each named by
// its table, table after table, in key order.
#ifndef EXAMPLES_LDAP_SHOW_XML_FILE_H
#define EXAMPLES_LDAP_SHOW_XML_FILE_H

#include <memory>
#include <stdexcept>
#include <string>

#include "common/session.h"

namespace ldap_show {

class XmlError : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

std::string to_xml(const example::Session &session);

// A file that was read. The constructor throws XmlError if the text isn't such a file.
class XmlFile {
 public:
    explicit XmlFile(const std::string &text);

    // Inserts the records into a store, in one transaction. Throws XmlError for a record that
    // can't be read and StoreError for one that can't be stored; then nothing is stored.
    void store_in(const example::Session &session) const;

 private:
    struct Free {
        void operator()(kel_xml_document *document) const { kel_xml_free(document); }
    };
    std::unique_ptr<kel_xml_document, Free> document_;
};

}  // namespace ldap_show

#endif
