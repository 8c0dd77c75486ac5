// SPDX-License-Identifier: Apache-2.0
#include "open_connections.h"

namespace tarn_ldap {

bool OpenConnections::take_unnamed() {
    if (unnamed_ == 0) return false;
    --unnamed_;
    return true;
}

void OpenConnections::adopt(uint64_t count) {
    unnamed_ += count;
    for (auto &[connection, taken] : closed_early_)
        if (!taken) taken = take_unnamed();
}

void OpenConnections::opened(uint64_t connection) {
    const auto early = closed_early_.find(connection);
    if (early == closed_early_.end()) {
        open_.insert(connection);
        return;
    }
    // Its `closed` came before its `ACCEPT`, so it is none of the unnamed.
    if (early->second) ++unnamed_;
    closed_early_.erase(early);
}

void OpenConnections::closed(uint64_t connection) {
    if (open_.erase(connection) != 0 || closed_early_.contains(connection)) return;
    closed_early_.emplace(connection, take_unnamed());
}

void OpenConnections::clear() { *this = OpenConnections(); }

}  // namespace tarn_ldap
