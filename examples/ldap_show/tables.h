// SPDX-License-Identifier: Apache-2.0
//
// The three LDAP tables of a store, to be walked in key order and written as text or XML.
#ifndef EXAMPLES_LDAP_SHOW_TABLES_H
#define EXAMPLES_LDAP_SHOW_TABLES_H

#include <array>
#include <functional>
#include <string>

#include "common/session.h"
#include "tarnbase/tables/tbl_ldap_conn.h"

namespace ldap_show {

// The functions of a table that this program needs; all tables have them in these forms.
struct LdapTable {
    const char *name;
    decltype(tbl_ldap_conn_table_open) *open;
    decltype(tbl_ldap_conn_st_ldap_conn_sname_get_first) *get_first;
    decltype(tbl_ldap_conn_st_ldap_conn_sname_get_next) *get_next;
    decltype(tbl_ldap_conn_table_record_print) *print;
    decltype(tbl_ldap_conn_table_record_to_xml) *to_xml;
    decltype(tbl_ldap_conn_table_record_from_xml) *from_xml;
    decltype(tbl_ldap_conn_insert) *insert;
    const kel_vstring *(*key)(kel_handle *, kel_record *);
    int32_t (*compare)(kel_handle *, kel_record *, kel_handle *, kel_record *);
};

extern const std::array<LdapTable, 3> kLdapTables;

// One of the tables in a store, open; without a table block it is empty.
class OpenTable {
 public:
    enum class Missing { stays_missing, is_made };

    OpenTable(const example::Session &session, const LdapTable &table, Missing missing);

    // The first record, and the one behind `record`; null at the end.
    kel_record *first() const;
    kel_record *next(kel_record *record) const;
    void for_each(const std::function<void(kel_record *)> &function) const;
    void insert(uint32_t tx_id, kel_record *record) const;

    std::string server(kel_record *record) const;  // the key
    std::string text(kel_record *record) const;
    std::string xml(kel_record *record) const;

    const LdapTable &table() const { return table_; }
    kel_handle *handle() const { return handle_; }

 private:
    const LdapTable &table_;
    kel_handle *handle_;
    kel_table *block_;
};

// All records of all tables, as text.
std::string to_text(const example::Session &session);

}  // namespace ldap_show

#endif
