// SPDX-License-Identifier: Apache-2.0
//
// The three LDAP tables of a store, one after the other.
#ifndef EXAMPLES_LDAP_SHOW_TABLES_H
#define EXAMPLES_LDAP_SHOW_TABLES_H

#include <optional>
#include <string>
#include <type_traits>

#include "ldap_tables.h"

namespace ldap_show {

// Calls `function` as a template with the schema's class of each table.
template <class Function>
void for_each_table(Function function) {
    function(std::type_identity<tarn::tbl_ldap_stats>());
    function(std::type_identity<tarn::tbl_ldap_summary>());
    function(std::type_identity<tarn::tbl_ldap_conn>());
}

// The table, if the store has it.
template <class Table>
std::optional<tarn::table<Table>> find_table(const tarn::session &session) {
    auto table = tarn::table<Table>::try_open(session, kTableName);
    if (table) return *table;
    if (table.error().number() == ENOENT) return std::nullopt;
    throw table.error();
}

// Calls `function` with each record of the table, in key order.
template <class Table, class Function>
void for_each_record(const tarn::session &session, Function function) {
    const auto table = find_table<Table>(session);
    if (!table) return;
    for (const auto record : *table) function(record);
}

// All records of all tables, as text.
std::string to_text(const tarn::session &session);

}  // namespace ldap_show

#endif
