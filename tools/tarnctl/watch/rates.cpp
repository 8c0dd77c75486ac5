// SPDX-License-Identifier: Apache-2.0
#include "watch/rates.h"

#include <fmt/core.h>

#include <algorithm>

#include "tarnbase/replica.h"

namespace tarnctl {

void Tally::count(uint32_t what) {
    if (what == KEL_REPLICA_INSERTED) ++inserted;
    else if (what == KEL_REPLICA_DELETED) ++deleted;
    else ++changed;
}

void Rates::count(const std::string &table, const Record &record, uint32_t what) {
    tables_[table].count(what);
    std::string name = fmt::format("{} {}", table, record.key_text());
    if (record.tenant() != 0 || record.src() != KEL_SOURCE_DEFAULT)
        name += fmt::format(" (tenant {}, source {})", record.tenant(), record.src());
    ++records_[std::move(name)];
}

void Rates::clear() {
    transactions_ = 0;
    tables_.clear();
    records_.clear();
}

std::vector<std::pair<std::string, uint64_t>> Rates::busiest(std::size_t most) const {
    std::vector<std::pair<std::string, uint64_t>> found(records_.begin(), records_.end());
    const auto middle = found.begin() + static_cast<std::ptrdiff_t>(std::min(most, found.size()));
    std::partial_sort(found.begin(), middle, found.end(), [](const auto &a, const auto &b) {
        return a.second != b.second ? a.second > b.second : a.first < b.first;
    });
    found.erase(middle, found.end());
    return found;
}

}  // namespace tarnctl
