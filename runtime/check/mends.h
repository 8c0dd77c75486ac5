/* SPDX-License-Identifier: Apache-2.0 */
// What a check has found that can be mended.
#ifndef TARNBASE_RUNTIME_CHECK_MENDS_H
#define TARNBASE_RUNTIME_CHECK_MENDS_H

#include <cstdint>
#include <vector>

#include "runtime/arena/allocator.h"
#include "runtime/check/types.h"

namespace tarnbase::runtime {

struct Mends {
    // A count, and the number of what it counts.
    struct Count {
        std::uint32_t *place;
        std::uint32_t value;
    };
    // Records of a tenant that has no counters, of one source.
    struct Uncounted {
        kel_table *table;
        std::uint16_t tenant;
        std::uint8_t source;
        std::uint32_t records;
    };
    // A record in no table, which can be read, with the operations of its table.
    struct LostRecord {
        TableVector vector;
        kel_record *record;
    };

    std::vector<Count> counts;
    std::vector<Uncounted> uncounted;
    std::vector<LostRecord> lost_records;
    std::vector<std::uint64_t> lost_blocks;  // offsets of blocks that nothing refers to
    std::uint64_t findings = 0;              // those that all of this is about
};

}  // namespace tarnbase::runtime

#endif
