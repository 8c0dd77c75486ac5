// SPDX-License-Identifier: Apache-2.0
#include "objects.h"

namespace dot1x_ports {
namespace {

void put(Fields<st_aaa_type> fields, const AuthenRow &row) {
#define X(field) \
    fields.put(st_aaa_type_##field##_get_value, st_aaa_type_##field##_set_value, row.field);
    DOT1X_AUTHEN_NUMBERS(X)
#undef X
    fields.finish(ServerTable::name);
}

AuthenRow authen_of(Fields<st_aaa_type> fields) {
    AuthenRow row;
#define X(field) row.field = fields.number(st_aaa_type_##field##_get_value);
    DOT1X_AUTHEN_NUMBERS(X)
#undef X
    fields.finish(ServerTable::name);
    return row;
}

void put(Fields<st_type_stats> fields, const TrafficRow &row) {
#define X(field)                                                                            \
    fields.put_signed(st_type_stats_##field##_get_value, st_type_stats_##field##_set_value, \
                      row.field);
    DOT1X_TRAFFIC_SIGNED(X)
#undef X
#define X(field) \
    fields.put(st_type_stats_##field##_get_value, st_type_stats_##field##_set_value, row.field);
    DOT1X_TRAFFIC_UNSIGNED(X)
#undef X
    fields.finish(RadiusTable::name);
}

TrafficRow traffic_of(Fields<st_type_stats> fields) {
    TrafficRow row;
#define X(field) row.field = fields.number(st_type_stats_##field##_get_value);
    DOT1X_TRAFFIC_SIGNED(X)
    DOT1X_TRAFFIC_UNSIGNED(X)
#undef X
    fields.finish(RadiusTable::name);
    return row;
}

}  // namespace

void put(Access access, st_dot1xAuthConfigEntry_op *object, const ConfigRow &row) {
    Fields fields(access, object);
#define X(field)                                               \
    fields.put(st_dot1xAuthConfigEntry_op_##field##_get_value, \
               st_dot1xAuthConfigEntry_op_##field##_set_value, row.field);
    DOT1X_CONFIG_NUMBERS(X)
#undef X
    fields.finish(ConfigTable::name);
}

ConfigRow read(Access access, st_dot1xAuthConfigEntry_op *object) {
    ConfigRow row;
    Fields fields(access, object);
#define X(field) row.field = fields.number(st_dot1xAuthConfigEntry_op_##field##_get_value);
    DOT1X_CONFIG_NUMBERS(X)
#undef X
    fields.finish(ConfigTable::name);
    return row;
}

void put(Access access, st_dot1xAuthStatsEntry_op *object, const StatsRow &row) {
    Fields fields(access, object);
#define X(field)                                              \
    fields.put(st_dot1xAuthStatsEntry_op_##field##_get_value, \
               st_dot1xAuthStatsEntry_op_##field##_set_value, row.field);
    DOT1X_STATS_NUMBERS(X)
#undef X
#define X(field)                                             \
    fields.put_text(st_dot1xAuthStatsEntry_op_##field##_get, \
                    st_dot1xAuthStatsEntry_op_##field##_set, row.field);
    DOT1X_STATS_TEXTS(X)
#undef X
    fields.finish(StatsTable::name);
}

StatsRow read(Access access, st_dot1xAuthStatsEntry_op *object) {
    StatsRow row;
    Fields fields(access, object);
#define X(field) row.field = fields.number(st_dot1xAuthStatsEntry_op_##field##_get_value);
    DOT1X_STATS_NUMBERS(X)
#undef X
#define X(field) row.field = fields.text(st_dot1xAuthStatsEntry_op_##field##_get);
    DOT1X_STATS_TEXTS(X)
#undef X
    fields.finish(StatsTable::name);
    return row;
}

void put(Access access, st_aaa_servers *object, const ServerRow &row) {
    Fields fields(access, object);
#define X(field) \
    fields.put(st_aaa_servers_##field##_get_value, st_aaa_servers_##field##_set_value, row.field);
    DOT1X_SERVER_NUMBERS(X)
#undef X
    put(Fields(access, fields.get(st_aaa_servers_aaa_authen_get)), row.aaa_authen);
    fields.finish(ServerTable::name);
}

ServerRow read(Access access, st_aaa_servers *object) {
    ServerRow row;
    Fields fields(access, object);
#define X(field) row.field = fields.number(st_aaa_servers_##field##_get_value);
    DOT1X_SERVER_NUMBERS(X)
#undef X
    row.aaa_authen = authen_of(Fields(access, fields.get(st_aaa_servers_aaa_authen_get)));
    fields.finish(ServerTable::name);
    return row;
}

void put(Access access, st_radius_stats *object, const RadiusRow &row) {
    Fields fields(access, object);
    fields.put_signed(st_radius_stats_access_rejects_get_value,
                      st_radius_stats_access_rejects_set_value, row.access_rejects);
    put(Fields(access, fields.get(st_radius_stats_radius_auth_stats_get)), row.radius_auth_stats);
    put(Fields(access, fields.get(st_radius_stats_radius_acct_stats_get)), row.radius_acct_stats);
    fields.finish(RadiusTable::name);
}

RadiusRow read(Access access, st_radius_stats *object) {
    RadiusRow row;
    Fields fields(access, object);
    row.access_rejects = fields.number(st_radius_stats_access_rejects_get_value);
    row.radius_auth_stats =
        traffic_of(Fields(access, fields.get(st_radius_stats_radius_auth_stats_get)));
    row.radius_acct_stats =
        traffic_of(Fields(access, fields.get(st_radius_stats_radius_acct_stats_get)));
    fields.finish(RadiusTable::name);
    return row;
}

}  // namespace dot1x_ports
