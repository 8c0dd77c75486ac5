/* SPDX-License-Identifier: Apache-2.0 */
// The header of a store, at its base address and at the start of its file.
// Numbers are little-endian, pointers absolute addresses: a store file is mapped at
// the same address everywhere.
//
// A release reads one format version and refuses all others, newer and older: an export
// moves data between them. Magic and version have the same offsets in every version.
//
//   offset  size  member
//        0     8  magic "TARNBASE"
//        8     4  format version
//       12     4  page size, 65536
//       16     8  base address
//       24     8  capacity, bytes of address range
//       32    24  arena: size in bytes, blocks, bytes in blocks
//       56     8  transactions committed
//       64     8  transactions rolled back
//       72     4  transactions begun, a part of the next id
//       76     4  zero
//       80    16  table list: first block, address of the last link
//       96     8  root of the keyed store's tree
//      104     8  root of the type map's tree
//      112    24  map from objects to their data
//      136    24  map from objects to their identities
//      160    24  map from object ids to identities
//      184    24  map from strings to their texts
//      208     8  the last object id assigned
//      216    40  zero
//      256  1024  32 transaction slots
//     1280        zero up to 4096
//     4096        the allocator's page sets (arena/allocator.cpp), then pages
//
// A transaction slot, all zero when it is free:
//
//        0     4  transaction id
//        4     4  1 if there was no space for the whole log
//        8     8  the newest page of the undo log, or null
//       16     8  blocks to free at commit
//       24     4  1 if it is committed and its frees are in progress
//       28     4  zero
#ifndef TARNBASE_RUNTIME_STORE_HEADER_H
#define TARNBASE_RUNTIME_STORE_HEADER_H

#include <cstddef>
#include <cstdint>

#include "runtime/arena/allocator.h"
#include "runtime/index/address_map.h"
#include "tarnbase/record.h"

namespace tarnbase::runtime {

struct LogPage;

inline constexpr std::uint64_t store_magic = 0x45534142'4e524154;  // "TARNBASE"
inline constexpr std::uint32_t store_format_version = 1;
inline constexpr std::uint32_t transaction_slots = 32;
inline constexpr std::uint64_t page_sets_offset = 4096;

struct TransactionSlot {
    std::uint32_t id;
    std::uint32_t log_incomplete;
    LogPage *log;
    std::uint64_t deferred_frees;
    std::uint32_t committed;
    std::uint32_t reserved;
};
static_assert(sizeof(TransactionSlot) == 32);

struct StoreHeader {
    std::uint64_t magic;
    std::uint32_t version;
    std::uint32_t page_bytes;
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
    std::uint64_t more_reserved[5];
    TransactionSlot transactions[transaction_slots];
};
static_assert(offsetof(StoreHeader, arena) == 32);
static_assert(offsetof(StoreHeader, tables) == 80);
static_assert(offsetof(StoreHeader, object_data) == 112);
static_assert(offsetof(StoreHeader, texts) == 184);
static_assert(offsetof(StoreHeader, last_object_id) == 208);
static_assert(offsetof(StoreHeader, transactions) == 256);
static_assert(sizeof(StoreHeader) == 1280);
static_assert(sizeof(StoreHeader) <= page_sets_offset);

}  // namespace tarnbase::runtime

#endif
