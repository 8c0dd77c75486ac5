/* SPDX-License-Identifier: Apache-2.0 */
// A hash map in a store from 64-bit keys, mostly addresses, to nodes inside the entries.
// Its buckets are a block of the store: twice as many whenever the entries outnumber them,
// and freed with the last entry.
#ifndef TARNBASE_RUNTIME_INDEX_ADDRESS_MAP_H
#define TARNBASE_RUNTIME_INDEX_ADDRESS_MAP_H

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
    MapNode **buckets;
    std::uint64_t bucket_count;
    std::uint64_t entries;
};
static_assert(sizeof(MapRoot) == 24);

// The bucket of a key, of a number of buckets that is a power of two.
constexpr std::uint64_t bucket_of(std::uint64_t key, std::uint64_t bucket_count) {
    // Addresses differ in their middle bits; the product's high bits depend on all.
    return (key * 0x9e3779b97f4a7c15ULL >> 32) & (bucket_count - 1);
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
    bool ensure_bucket(WriteLog log);
    void rehash(WriteLog log, MapNode **buckets, std::uint64_t count);

    MapRoot &root_;
    BlockAllocator &allocator_;
};

}  // namespace tarnbase::runtime

#endif
