// SPDX-License-Identifier: Apache-2.0
//
// The XML file of the tables: an element `ldap` that contains an element for each record, each
// named after its table, table after table, in key order.
#ifndef EXAMPLES_LDAP_SHOW_XML_FILE_H
#define EXAMPLES_LDAP_SHOW_XML_FILE_H

#include <stdexcept>
#include <string>

#include "tarnbase/tarn/session.hpp"
#include "tarnbase/tarn/xml.hpp"

namespace ldap_show {

class XmlError : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

std::string to_xml(const tarn::session &session);

// A file that was read. The constructor throws XmlError if the text isn't such a file.
class XmlFile {
 public:
    explicit XmlFile(const std::string &text);

    // Inserts the records into a store, in one transaction. Throws XmlError for a record that
    // can't be read and tarn::error for one that can't be stored; then nothing is stored.
    void store_in(tarn::session &session) const;

 private:
    tarn::xml_document document_;
};

}  // namespace ldap_show

#endif
