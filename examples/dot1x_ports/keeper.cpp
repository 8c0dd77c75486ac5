// SPDX-License-Identifier: Apache-2.0
#include "keeper.h"

#include "objects.h"
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
    if (rows.config) put(access, find_or_make<ConfigTable>(access, config_, index), *rows.config);
    else erase<ConfigTable>(access, config_, index);
    if (rows.stats) put(access, find_or_make<StatsTable>(access, stats_, index), *rows.stats);
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
    return read(access, object);
}

std::optional<RadiusRow> Keeper::read_client(Access access) const {
    st_radius_stats *object = find<RadiusTable>(access, radius_, kSingleton);
    if (object == nullptr) return std::nullopt;
    return read(access, object);
}

PortRows Keeper::read_port(const Port &port) const {
    const Access access = reading();
    PortRows rows{.port = port};
    if (auto *config = find<ConfigTable>(access, config_, port.if_index))
        rows.config = read(access, config);
    if (auto *stats = find<StatsTable>(access, stats_, port.if_index))
        rows.stats = read(access, stats);
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
        rows.servers[name] = read(access, object);
    });
    rows.client = read_client(access).value_or(RadiusRow{});
    return rows;
}

}  // namespace dot1x_ports
