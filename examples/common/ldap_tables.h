// SPDX-License-Identifier: Apache-2.0
//
// The functions of the three LDAP tables under names that they share, so that a template can
// serve all three: each has records of one object, keyed by the server's name in `sname`.
#ifndef EXAMPLES_COMMON_LDAP_TABLES_H
#define EXAMPLES_COMMON_LDAP_TABLES_H

#include "tarnbase/tables/tbl_ldap_conn.h"
#include "tarnbase/tables/tbl_ldap_stats.h"
#include "tarnbase/tables/tbl_ldap_summary.h"

namespace example {

// The name under which the programs open their tables. Each table's key in the store has its
// identity behind the name, so that the tables can share it.
constexpr const char *kTableName = "ldap";

#define EXAMPLE_LDAP_TABLE(alias, table, type)                              \
    struct alias {                                                          \
        using Object = type;                                                \
        static constexpr const char *name = #table;                         \
        static constexpr auto open = table##_table_open;                    \
        static constexpr auto get_count = table##_table_get_count;          \
        static constexpr auto create_record = table##_create_record;        \
        static constexpr auto insert = table##_insert;                      \
        static constexpr auto search = table##_##type##_sname_search;       \
        static constexpr auto get_first = table##_##type##_sname_get_first; \
        static constexpr auto get_next = table##_##type##_sname_get_next;   \
        static constexpr auto print = table##_table_record_print;           \
        static constexpr auto to_xml = table##_table_record_to_xml;         \
        static constexpr auto from_xml = table##_table_record_from_xml;     \
        static constexpr auto get_object = table##_##type##_get_field;      \
        static constexpr auto set_object = table##_##type##_set_field;      \
        static constexpr auto create_object = type##_create;                \
        static constexpr auto compare = type##_compare;                     \
        static constexpr auto get_sname = type##_sname_get;                 \
        static constexpr auto set_sname = type##_sname_set;                 \
    }

EXAMPLE_LDAP_TABLE(StatsTable, tbl_ldap_stats, st_ldap_stats);
EXAMPLE_LDAP_TABLE(SummaryTable, tbl_ldap_summary, st_ldap_summary);
EXAMPLE_LDAP_TABLE(ConnTable, tbl_ldap_conn, st_ldap_conn);

#undef EXAMPLE_LDAP_TABLE

}  // namespace example

#endif
