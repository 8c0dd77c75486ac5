/* SPDX-License-Identifier: Apache-2.0 */
// Which records of replicated tables were read last through a handle, and how often. It is
// in process memory: a read doesn't change the store. Its size is fixed: records are
// hashed into sets, and a set keeps the four that were read last.
#ifndef TARNBASE_RUNTIME_REPLICATION_READ_CACHE_H
#define TARNBASE_RUNTIME_REPLICATION_READ_CACHE_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "tarnbase/record.h"

namespace tarnbase::runtime {

class ReadCache {
 public:
    struct Entry {
        const kel_record *record;   // compared, never dereferenced
        const void *const *vector;  // of the record's table
        std::uint64_t reads;
    };

    // Counts a read of the record.
    void note(const kel_record *record, const void *const *vector);
    // Drops the entry of an address that another record is about to use.
    void remove(const kel_record *record);
    // The record's entry, or null.
    const Entry *find(const kel_record *record) const;

 private:
    static constexpr std::size_t set_count = 256;
    using Set = std::array<Entry, 4>;  // the last read first

    static std::size_t set_of(const kel_record *record);

    std::array<Set, set_count> sets_{};
};

}  // namespace tarnbase::runtime

#endif
