// SPDX-License-Identifier: Apache-2.0
//
// The XML document: the library's own record form inside elements that tell what it lacks.
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
// where they tell something:
//   pending="true"  it waits to be destroyed
//   variant="0"     of the data object, if its type has newer ones
//   state, key_state
//                   on objects with state flags: "num_conns=2 minute[5]=1", those that aren't 0
// A field's element, or a table's, with escaped="true" has what XML can't carry in the form of
// xml_escape.h.
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
    // The library's form, in `buffer_`; none if XML can't carry the record, with the error that the
    // library left.
    std::optional<std::string_view> form_of(const Record &record, uint32_t &err);
    std::string objection_to(const Record &record, uint32_t err) const;

    std::ostream &out_;
    Unfit unfit_;
    std::string buffer_;
    std::string table_;
};

}  // namespace tarnctl

#endif
