// SPDX-License-Identifier: Apache-2.0
#include "session_records.h"

#include <string>
#include <utility>

#include "objects.h"

namespace tarn_dot1x {
namespace {

constexpr uint8_t kSearchtype = 0;

}  // namespace

SessionRecords::SessionRecords(const tarn::session &session)
    : table_(SessionTable::open_or_create(session, kTableName)) {}

void SessionRecords::write(const std::vector<PortRows> &ports) {
    for (const PortRows &port : ports) {
        for (const SessionRow &row : port.sessions)
            put(find_or_make(table_, {port.port.if_index, row.session_id, kSearchtype}), row);
    }
    erase_vanished(ports);
    link();
}

void SessionRecords::erase_all_but(const std::set<uint32_t> &present) {
    table_.erase_if([&present](const auto &record) {
        const auto key = record.key();
        return key.searchtype() == kSearchtype && !present.contains(key.if_index());
    });
}

void SessionRecords::erase_vanished(const std::vector<PortRows> &ports) {
    std::set<uint32_t> polled;
    std::set<std::pair<uint32_t, std::string>> present;
    for (const PortRows &port : ports) {
        polled.insert(port.port.if_index);
        for (const SessionRow &row : port.sessions)
            present.emplace(port.port.if_index, row.session_id);
    }
    table_.erase_if([&](const auto &record) {
        const auto key = record.key();
        return key.searchtype() == kSearchtype && polled.contains(key.if_index()) &&
               !present.contains({key.if_index(), std::string(key.session_id_in())});
    });
}

// Stores in each row the port of the next row, 0 in the last.
void SessionRecords::link() {
    for (auto at = table_.begin(); at != table_.end();) {
        auto record = *at++;
        const uint32_t index = at == table_.end() ? 0 : (*at).key().if_index();
        if (record.next_if_index() != index) record.set_next_if_index(index);
    }
}

std::vector<SessionRow> SessionRecords::read(uint32_t if_index) const {
    std::vector<SessionRow> rows;
    for (const auto record : table_) {
        const auto key = record.key();
        if (key.if_index() == if_index && key.searchtype() == kSearchtype)
            rows.push_back(tarn_dot1x::read(record));
    }
    return rows;
}

}  // namespace tarn_dot1x
