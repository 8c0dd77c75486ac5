/* SPDX-License-Identifier: Apache-2.0 */
// A hash map in a store from 64-bit keys, mostly addresses, to nodes inside the entries.
//
// An insertion never moves many entries. When the entries outnumber the buckets, one bucket is
// added, and the entries of one other are divided between the two. The buckets are in blocks of
// 1024, which never move. More than 1024 buckets are a tree of such blocks: those above the
// buckets contain addresses of blocks. The tree gets a level, and nothing is copied, when it is
// full. The first block has 16, then 128, then 1024 places.
//
// The blocks are freed with the last entry.
#ifndef TARNBASE_RUNTIME_INDEX_ADDRESS_MAP_H
#define TARNBASE_RUNTIME_INDEX_ADDRESS_MAP_H

#include <bit>
#include <cstdint>

#include "runtime/base/announce.h"
#include "runtime/index/block_allocator.h"

namespace tarnbase::runtime {

// First member of each entry.
struct MapNode {
    std::uint64_t key;
    MapNode *next;
};
static_assert(sizeof(MapNode) == 16);

// A map's anchor, in the store's header. Zero is the empty map.
struct MapRoot {
    void *top;  // the first block of buckets, or the top of the tree of blocks
    std::uint64_t bucket_count;
    std::uint64_t entries;
};
static_assert(sizeof(MapRoot) == 24);

// The places of a block, for buckets or for the addresses of blocks.
inline constexpr std::uint64_t map_block_places = 1024;
inline constexpr std::uint64_t map_block_bytes = map_block_places * sizeof(void *);

// A map never has more buckets, as a key's hash has 32 bits.
inline constexpr std::uint64_t most_buckets = 1ULL << 32;

// A page of the store, whose entries have neighbouring buckets.
inline constexpr std::uint64_t map_page_bytes = 65536;

// The least number of buckets of a map that isn't empty.
inline constexpr std::uint64_t least_buckets = 16;

// The places of the first block when a map has that many buckets.
constexpr std::uint64_t first_block_places(std::uint64_t bucket_count) {
    return bucket_count <= least_buckets ? least_buckets
           : bucket_count <= 128         ? 128
                                         : map_block_places;
}

// The buckets below each place of the top block.
constexpr std::uint64_t buckets_below_top(std::uint64_t bucket_count) {
    std::uint64_t below = 1;
    while (below * map_block_places < bucket_count) below *= map_block_places;
    return below;
}

// Neighbours in a page of the store have neighbouring buckets, so that the buckets of blocks that
// are made one after the other are in few cache lines. A page's first bucket depends on all bits of
// its number; `place / 32` spreads blocks whose size is a power of two. The format of stores has
// this.
constexpr std::uint64_t hash_of(std::uint64_t key) {
    constexpr std::uint64_t multiplier = 0x9e3779b97f4a7c15ULL;
    const std::uint64_t place = key % map_page_bytes / 32;
    const std::uint64_t first = (key / map_page_bytes * multiplier >> 32) + key % 32 * multiplier;
    return (first + place + place / 32) & 0xffffffff;
}

// The bucket of a key: the number that the last bits of its hash are, as many as the last bucket
// needs. If there is no such bucket yet, one bit less.
constexpr std::uint64_t bucket_of(std::uint64_t key, std::uint64_t bucket_count) {
    const std::uint64_t hash = hash_of(key);
    const std::uint64_t all = std::bit_ceil(bucket_count) - 1;
    const std::uint64_t bucket = hash & all;
    return bucket < bucket_count ? bucket : hash & all >> 1;
}

// A bucket below the map's count: the first of its nodes.
inline MapNode *&bucket_at(const MapRoot &root, std::uint64_t bucket) {
    void *block = root.top;
    for (std::uint64_t below = buckets_below_top(root.bucket_count); below > 1;) {
        block = static_cast<void **>(block)[bucket / below];
        bucket %= below;
        below /= map_block_places;
    }
    return static_cast<MapNode **>(block)[bucket];
}

inline std::uint64_t map_key(const void *address) {
    return reinterpret_cast<std::uintptr_t>(address);
}

// A map for the duration of a call.
class AddressMap {
 public:
    AddressMap(MapRoot &root, BlockAllocator &allocator) : root_(root), allocator_(allocator) {}

    // The node with that key, or null.
    MapNode *find(std::uint64_t key) const;
    // Links `node`, which nothing else refers to yet, under a new key. False: no memory
    // for the first buckets, and nothing has changed.
    bool insert(WriteLog log, std::uint64_t key, MapNode *node);
    // Replaces the node with that key by `node` and returns it; null if there is none,
    // and nothing has changed.
    MapNode *replace(WriteLog log, std::uint64_t key, MapNode *node);
    // Unlinks the node with that key and returns it, or null.
    MapNode *remove(WriteLog log, std::uint64_t key);

 private:
    MapNode **link_to(std::uint64_t key) const;
    bool add_bucket(WriteLog log);
    void *top_with(WriteLog log, std::uint64_t added);
    void *larger_first_block(WriteLog log, std::uint64_t present, std::uint64_t places);
    void *higher_top(WriteLog log, std::uint64_t below);
    void *make_blocks(WriteLog log, std::uint64_t below);
    void divide(WriteLog log, std::uint64_t added);
    void release_blocks(WriteLog log, void *block, std::uint64_t below, std::uint64_t buckets);

    MapRoot &root_;
    BlockAllocator &allocator_;
};

}  // namespace tarnbase::runtime

#endif
