// SPDX-License-Identifier: Apache-2.0
#include "keeper.h"

#include "tables.h"

namespace dot1x_ports {
namespace {

using example::Session;
using example::Transaction;

constexpr uint32_t kSingleton = 1;

template <class Table>
kel_table *open_ours(const Session &session) {
    return open_table<Table>(session, kTableName);
}

// ---- The rows of a port ----

void put(Fields<st_dot1xAuthConfigEntry_op> fields, const ConfigRow &row) {
#define X(field)                                               \
    fields.put(st_dot1xAuthConfigEntry_op_##field##_get_value, \
               st_dot1xAuthConfigEntry_op_##field##_set_value, row.field);
    DOT1X_CONFIG_NUMBERS(X)
#undef X
    fields.finish(ConfigTable::name);
}

ConfigRow config_of(Fields<st_dot1xAuthConfigEntry_op> fields) {
    ConfigRow row;
#define X(field) row.field = fields.number(st_dot1xAuthConfigEntry_op_##field##_get_value);
    DOT1X_CONFIG_NUMBERS(X)
#undef X
    fields.finish(ConfigTable::name);
    return row;
}

void put(Fields<st_dot1xAuthStatsEntry_op> fields, const StatsRow &row) {
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

StatsRow stats_of(Fields<st_dot1xAuthStatsEntry_op> fields) {
    StatsRow row;
#define X(field) row.field = fields.number(st_dot1xAuthStatsEntry_op_##field##_get_value);
    DOT1X_STATS_NUMBERS(X)
#undef X
#define X(field) row.field = fields.text(st_dot1xAuthStatsEntry_op_##field##_get);
    DOT1X_STATS_TEXTS(X)
#undef X
    fields.finish(StatsTable::name);
    return row;
}

// ---- The rows of RADIUS ----

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

void put(Access access, st_aaa_servers *object, const ServerRow &row) {
    Fields fields(access, object);
#define X(field) \
    fields.put(st_aaa_servers_##field##_get_value, st_aaa_servers_##field##_set_value, row.field);
    DOT1X_SERVER_NUMBERS(X)
#undef X
    put(Fields(access, fields.get(st_aaa_servers_aaa_authen_get)), row.aaa_authen);
    fields.finish(ServerTable::name);
}

ServerRow server_of(Access access, st_aaa_servers *object) {
    ServerRow row;
    Fields fields(access, object);
#define X(field) row.field = fields.number(st_aaa_servers_##field##_get_value);
    DOT1X_SERVER_NUMBERS(X)
#undef X
    row.aaa_authen = authen_of(Fields(access, fields.get(st_aaa_servers_aaa_authen_get)));
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

void put(Access access, st_radius_stats *object, const RadiusRow &row) {
    Fields fields(access, object);
    fields.put_signed(st_radius_stats_access_rejects_get_value,
                      st_radius_stats_access_rejects_set_value, row.access_rejects);
    put(Fields(access, fields.get(st_radius_stats_radius_auth_stats_get)), row.radius_auth_stats);
    put(Fields(access, fields.get(st_radius_stats_radius_acct_stats_get)), row.radius_acct_stats);
    fields.finish(RadiusTable::name);
}

RadiusRow client_of(Access access, st_radius_stats *object) {
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

}  // namespace

Keeper::Keeper(const std::string &path)
    : session_(Session::open_or_create(path)),
      config_(open_ours<ConfigTable>(session_)),
      stats_(open_ours<StatsTable>(session_)),
      port_(open_ours<PortTable>(session_)),
      port_init_(open_ours<PortInitTable>(session_)),
      port_reauth_(open_ours<PortReauthTable>(session_)),
      servers_(open_ours<ServerTable>(session_)),
      radius_(open_ours<RadiusTable>(session_)),
      sessions_(session_) {}

void Keeper::write(const Observation &found) {
    Transaction transaction(session_);
    const Access access{session_.handle(), transaction.id()};
    for (const PortRows &rows : found.ports) write_port(access, rows);
    sessions_.write(access, found.ports);
    write_radius(access, found.radius);
    transaction.commit();
}

void Keeper::write_port(Access access, const PortRows &rows) const {
    const uint32_t index = rows.port.if_index;
    if (rows.config)
        put(Fields(access, find_or_make<ConfigTable>(access, config_, index)), *rows.config);
    else erase<ConfigTable>(access, config_, index);
    if (rows.stats)
        put(Fields(access, find_or_make<StatsTable>(access, stats_, index)), *rows.stats);
    else erase<StatsTable>(access, stats_, index);

    Fields port(access, find_or_make<PortTable>(access, port_, index));
    port.put(st_dot1xPaePortEntry_op_init_get_value, st_dot1xPaePortEntry_op_init_set_value,
             rows.control.init);
    port.finish(PortTable::name);
    Fields init(access, find_or_make<PortInitTable>(access, port_init_, index));
    init.put(st_dot1xPaePortEntryInit_op_init_get_value, st_dot1xPaePortEntryInit_op_init_set_value,
             rows.control.init);
    init.finish(PortInitTable::name);
    Fields reauth(access, find_or_make<PortReauthTable>(access, port_reauth_, index));
    reauth.put(st_dot1xPaePortEntryReauth_op_reauth_get_value,
               st_dot1xPaePortEntryReauth_op_reauth_set_value, rows.control.reauth);
    reauth.finish(PortReauthTable::name);
}

void Keeper::write_radius(Access access, RadiusRows rows) const {
    for (auto &[name, row] : rows.servers) {
        carry_on(read_server(access, name), row);
        put(access, find_or_make<ServerTable>(access, servers_, string_of(name)), row);
    }
    carry_on(read_client(access), rows.client);
    put(access, find_or_make<RadiusTable>(access, radius_, kSingleton), rows.client);
}

std::optional<ServerRow> Keeper::read_server(Access access, const std::string &name) const {
    st_aaa_servers *object = find<ServerTable>(access, servers_, string_of(name));
    if (object == nullptr) return std::nullopt;
    return server_of(access, object);
}

std::optional<RadiusRow> Keeper::read_client(Access access) const {
    st_radius_stats *object = find<RadiusTable>(access, radius_, kSingleton);
    if (object == nullptr) return std::nullopt;
    return client_of(access, object);
}

PortRows Keeper::read_port(const Port &port) const {
    const Access access = reading();
    PortRows rows{.port = port};
    if (auto *config = find<ConfigTable>(access, config_, port.if_index))
        rows.config = config_of(Fields(access, config));
    if (auto *stats = find<StatsTable>(access, stats_, port.if_index))
        rows.stats = stats_of(Fields(access, stats));
    if (auto *init = find<PortInitTable>(access, port_init_, port.if_index))
        rows.control.init = Fields(access, init).number(st_dot1xPaePortEntryInit_op_init_get_value);
    if (auto *reauth = find<PortReauthTable>(access, port_reauth_, port.if_index))
        rows.control.reauth =
            Fields(access, reauth).number(st_dot1xPaePortEntryReauth_op_reauth_get_value);
    rows.sessions = sessions_.read(access, port.if_index);
    return rows;
}

RadiusRows Keeper::read_radius() const {
    const Access access = reading();
    RadiusRows rows;
    for_each_record<ServerTable>(access, servers_, [&](kel_record *record, kel_record *) {
        st_aaa_servers *object = ServerTable::get_object(access.handle, access.tx_id, record);
        Fields fields(access, object);
        const std::string name = fields.text(st_aaa_servers_sname_get);
        fields.finish(ServerTable::name);
        rows.servers[name] = server_of(access, object);
    });
    rows.client = read_client(access).value_or(RadiusRow{});
    return rows;
}

}  // namespace dot1x_ports
