// SPDX-License-Identifier: Apache-2.0
#include "keeper.h"

#include <utility>

#include "objects.h"

namespace tarn_dot1x {
namespace {

constexpr uint32_t kSingleton = 1;

// The row of a record, if there is one.
template <class Record>
auto read_found(const std::optional<Record> &record) {
    using Row = decltype(read(*record));
    return record ? std::optional<Row>(read(*record)) : std::nullopt;
}

// Stores the row of a port, or erases its record if there is none.
template <class Table, class Row>
void write_or_erase(Table &table, uint32_t if_index, const std::optional<Row> &row) {
    if (row) put(find_or_make(table, if_index), *row);
    else table.erase(if_index);
}

}  // namespace

Keeper::Keeper(tarn::store store)
    : store_(std::move(store)),
      session_(store_),
      config_(ConfigTable::open_or_create(session_, kTableName)),
      stats_(StatsTable::open_or_create(session_, kTableName)),
      port_(PortTable::open_or_create(session_, kTableName)),
      port_init_(PortInitTable::open_or_create(session_, kTableName)),
      port_reauth_(PortReauthTable::open_or_create(session_, kTableName)),
      servers_(ServerTable::open_or_create(session_, kTableName)),
      radius_(RadiusTable::open_or_create(session_, kTableName)),
      sessions_(session_) {}

void Keeper::write(const Observation &found) {
    tarn::transaction transaction(session_);
    for (const PortRows &rows : found.ports) write_port(rows);
    sessions_.write(found.ports);
    write_radius(found.radius);
    transaction.commit();
}

void Keeper::write_update(const Update &update) {
    tarn::transaction transaction(session_);
    for (const PortRows &rows : update.ports) write_port(rows);
    erase_all_but(update.present);
    sessions_.write(update.ports);
    if (update.radius) write_radius(*update.radius);
    transaction.commit();
}

void Keeper::erase_all_but(const std::set<uint32_t> &present) {
    const auto is_absent = [&present](const auto &record) {
        return !present.contains(record.key());
    };
    config_.erase_if(is_absent);
    stats_.erase_if(is_absent);
    port_.erase_if(is_absent);
    port_init_.erase_if(is_absent);
    port_reauth_.erase_if(is_absent);
    sessions_.erase_all_but(present);
}

void Keeper::write_port(const PortRows &rows) {
    const uint32_t index = rows.port.if_index;
    const bool init = rows.control.init != 0;
    const bool reauth = rows.control.reauth != 0;
    write_or_erase(config_, index, rows.config);
    write_or_erase(stats_, index, rows.stats);
    auto port = find_or_make(port_, index);
    if (port.init() != init) port.set_init(init);
    auto port_init = find_or_make(port_init_, index);
    if (port_init.init() != init) port_init.set_init(init);
    auto port_reauth = find_or_make(port_reauth_, index);
    if (port_reauth.reauth() != reauth) port_reauth.set_reauth(reauth);
}

void Keeper::write_radius(RadiusRows rows) {
    for (auto &[name, row] : rows.servers) {
        carry_on(read_found(servers_.find(name)), row);
        put(find_or_make(servers_, name), row);
    }
    carry_on(read_client(), rows.client);
    put(find_or_make(radius_, kSingleton), rows.client);
}

std::optional<RadiusRow> Keeper::read_client() const {
    return read_found(radius_.find(kSingleton));
}

PortRows Keeper::read_port(const Port &port) const {
    PortRows rows{.port = port};
    rows.config = read_found(config_.find(port.if_index));
    rows.stats = read_found(stats_.find(port.if_index));
    if (const auto init = port_init_.find(port.if_index)) rows.control.init = init->init();
    if (const auto reauth = port_reauth_.find(port.if_index))
        rows.control.reauth = reauth->reauth();
    rows.sessions = sessions_.read(port.if_index);
    return rows;
}

RadiusRows Keeper::read_radius() const {
    RadiusRows rows;
    for (const auto server : servers_) rows.servers[std::string(server.key())] = read(server);
    rows.client = read_client().value_or(RadiusRow{});
    return rows;
}

}  // namespace tarn_dot1x
