// SPDX-License-Identifier: Apache-2.0
//
// The XML document: the library's record form inside elements with the properties that it lacks.
//
//   <?xml version="1.0" encoding="UTF-8"?>
//   <tarnbase format="1">
//   <table type="tbl_ldap_conn" name="ldap">
//   <record tenant="0" source="1">
//   <tbl_ldap_conn>
//   ...
//   </tbl_ldap_conn>
//   </record>
//   </table>
//   </tarnbase>
//
// A table that was opened by an id has `id` in place of `name`. A record has further attributes
// where needed:
//   pending="true"  it awaits its destruction
//   variant="0"     of the data object, if its type has newer ones
//   state, key_state
//                   of objects with state flags, those that aren't 0: "num_conns=2 minute[5]=1"
// The element of a field or a table has escaped="true" if its text has the form of xml_escape.h.
#ifndef TARNCTL_EXCHANGE_XML_WRITER_H
#define TARNCTL_EXCHANGE_XML_WRITER_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "exchange/writer.h"

namespace tarnctl {

class XmlWriter : public Writer {
 public:
    XmlWriter(std::ostream &out, Unfit unfit);

    void begin_table(const Instance &instance) override;
    void write(const Record &record) override;
    void end_table() override;
    void end() override;

 private:
    // The library's form, in `buffer_`; none if XML can't represent the record, with the library's
    // error.
    std::optional<std::string_view> form_of(const Record &record, uint32_t &err);

    std::ostream &out_;
    Unfit unfit_;
    std::string buffer_;
    std::string table_;
};

}  // namespace tarnctl

#endif
