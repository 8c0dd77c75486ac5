/* SPDX-License-Identifier: Apache-2.0 */
// The header of a store, at its base address. Numbers are little-endian, pointers absolute
// addresses: a store is mapped at the same address everywhere.
//
//   offset  size  member
//        0     8  base address
//        8     8  capacity, bytes of address range
//       16    24  arena: blocks, bytes in blocks, size in bytes
//       40     8  transactions committed
//       48     8  transactions rolled back
//       56     4  transactions begun, a part of the next id
//       60     4  zero
//       64    16  table list: first block, address of the last link
//       80     8  root of the keyed store's tree
//       88     8  root of the type map's tree
//       96    24  map from objects to their data
//      120    24  map from objects to their identities
//      144    24  map from object ids to identities
//      168    24  map from strings to their texts
//      192     8  the last object id assigned
//      200        zero up to 4096
//     4096        the allocator's page sets (arena/page_set.h), then pages
#ifndef TARNBASE_RUNTIME_STORE_HEADER_H
#define TARNBASE_RUNTIME_STORE_HEADER_H

#include <cstddef>
#include <cstdint>

#include "runtime/arena/allocator.h"
#include "runtime/index/address_map.h"
#include "tarnbase/record.h"

namespace tarnbase::runtime {

struct StoreHeader {
    void *base;
    std::uint64_t capacity;
    ArenaState arena;
    std::uint64_t committed;
    std::uint64_t rolled_back;
    std::uint32_t begun;
    std::uint32_t reserved;
    kel_table_list tables;
    void *keys;
    void *types;
    MapRoot object_data;
    MapRoot identities_by_object;
    MapRoot identities_by_id;
    MapRoot texts;
    std::uint64_t last_object_id;
};
static_assert(offsetof(StoreHeader, arena) == 16);
static_assert(offsetof(StoreHeader, committed) == 40);
static_assert(offsetof(StoreHeader, tables) == 64);
static_assert(offsetof(StoreHeader, object_data) == 96);
static_assert(offsetof(StoreHeader, texts) == 168);
static_assert(offsetof(StoreHeader, last_object_id) == 192);
static_assert(sizeof(StoreHeader) == 200);

// What changes without an announcement. The arena's counts and size aren't among it: they follow
// from allocations and releases.
inline constexpr std::uint64_t counters_offset = offsetof(StoreHeader, committed);
inline constexpr std::uint64_t counters_end = offsetof(StoreHeader, tables);

}  // namespace tarnbase::runtime

#endif
