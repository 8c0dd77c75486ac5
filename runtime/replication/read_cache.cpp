// SPDX-License-Identifier: Apache-2.0
#include "runtime/replication/read_cache.h"

#include <algorithm>

namespace tarnbase::runtime {

// Records of a table are mostly 80 or 96 bytes apart: the product spreads them.
std::size_t ReadCache::set_of(const kel_record *record) {
    const auto address = reinterpret_cast<std::uintptr_t>(record);
    return (address * 0x9e3779b97f4a7c15U >> 32) % set_count;
}

void ReadCache::note(const kel_record *record, const void *const *vector) {
    Set &set = sets_[set_of(record)];
    auto place = std::find_if(set.begin(), set.end() - 1,
                              [record](const Entry &entry) { return entry.record == record; });
    if (place->record != record) *place = {record, vector, 0};
    place->reads += 1;
    std::rotate(set.begin(), place, place + 1);
}

void ReadCache::remove(const kel_record *record) {
    for (Entry &entry : sets_[set_of(record)]) {
        if (entry.record == record) entry = {};
    }
}

const ReadCache::Entry *ReadCache::find(const kel_record *record) const {
    for (const Entry &entry : sets_[set_of(record)]) {
        if (entry.record == record) return &entry;
    }
    return nullptr;
}

}  // namespace tarnbase::runtime
