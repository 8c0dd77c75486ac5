// SPDX-License-Identifier: Apache-2.0
//
// The functions of the tables under names that they share, so that templates can serve them all.
#ifndef EXAMPLES_DOT1X_PORTS_TABLES_H
#define EXAMPLES_DOT1X_PORTS_TABLES_H

#include "tarnbase/tables/tbl_aaa_servers.h"
#include "tarnbase/tables/tbl_dot1xAuthConfigEntry_op.h"
#include "tarnbase/tables/tbl_dot1xAuthStatsEntry_op.h"
#include "tarnbase/tables/tbl_dot1xPaePortEntryInit_op.h"
#include "tarnbase/tables/tbl_dot1xPaePortEntryReauth_op.h"
#include "tarnbase/tables/tbl_dot1xPaePortEntry_op.h"
#include "tarnbase/tables/tbl_pexSessionEntry_op.h"
#include "tarnbase/tables/tbl_radius_stats.h"

namespace dot1x_ports {

// The name under which the tables are opened.
constexpr const char *kTableName = "dot1x";

#define DOT1X_TABLE(table, type)                                   \
    using Object = type;                                           \
    static constexpr const char *name = #table;                    \
    static constexpr auto open = table##_table_open;               \
    static constexpr auto get_count = table##_table_get_count;     \
    static constexpr auto create_record = table##_create_record;   \
    static constexpr auto destroy_record = table##_destroy_record; \
    static constexpr auto insert = table##_insert;                 \
    static constexpr auto take_out = table##_delete;               \
    static constexpr auto get_object = table##_##type##_get_field; \
    static constexpr auto set_object = table##_##type##_set_field; \
    static constexpr auto create_object = type##_create

// A table whose key is a field of its objects.
#define DOT1X_FIELD_TABLE(alias, table, type, field, key_type)                  \
    struct alias {                                                              \
        DOT1X_TABLE(table, type);                                               \
        using Key = key_type;                                                   \
        static constexpr auto search = table##_##type##_##field##_search;       \
        static constexpr auto set_key = type##_##field##_set;                   \
        static constexpr auto get_first = table##_##type##_##field##_get_first; \
        static constexpr auto get_next = table##_##type##_##field##_get_next;   \
    }

DOT1X_FIELD_TABLE(ConfigTable, tbl_dot1xAuthConfigEntry_op, st_dot1xAuthConfigEntry_op, if_index,
                  uint32_t);
DOT1X_FIELD_TABLE(StatsTable, tbl_dot1xAuthStatsEntry_op, st_dot1xAuthStatsEntry_op, if_index,
                  uint32_t);
DOT1X_FIELD_TABLE(PortTable, tbl_dot1xPaePortEntry_op, st_dot1xPaePortEntry_op, if_index, uint32_t);
DOT1X_FIELD_TABLE(PortInitTable, tbl_dot1xPaePortEntryInit_op, st_dot1xPaePortEntryInit_op,
                  if_index, uint32_t);
DOT1X_FIELD_TABLE(PortReauthTable, tbl_dot1xPaePortEntryReauth_op, st_dot1xPaePortEntryReauth_op,
                  if_index, uint32_t);
DOT1X_FIELD_TABLE(ServerTable, tbl_aaa_servers, st_aaa_servers, sname, kel_vstring);
DOT1X_FIELD_TABLE(RadiusTable, tbl_radius_stats, st_radius_stats, singleton_id, uint32_t);

// The table of sessions, whose key is an object of its own beside each object.
struct SessionTable {
    DOT1X_TABLE(tbl_pexSessionEntry_op, st_pexSessionEntry_op);
    using Key = pexSessionEntry_key;
    static constexpr auto search = tbl_pexSessionEntry_op_pexSessionEntry_key__search;
    static constexpr auto get_first = tbl_pexSessionEntry_op_pexSessionEntry_key__get_first;
    static constexpr auto get_next = tbl_pexSessionEntry_op_pexSessionEntry_key__get_next;
    static constexpr auto get_key = tbl_pexSessionEntry_op_pexSessionEntry_key_get_field;
    static constexpr auto set_key = tbl_pexSessionEntry_op_pexSessionEntry_key_set_field;
    static constexpr auto create_key = pexSessionEntry_key_create;
    static constexpr auto destroy_key = pexSessionEntry_key_destroy;
};

#undef DOT1X_FIELD_TABLE
#undef DOT1X_TABLE

}  // namespace dot1x_ports

#endif
