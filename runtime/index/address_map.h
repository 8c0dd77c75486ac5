/* SPDX-License-Identifier: Apache-2.0 */
// A hash map in the store from 64-bit keys, addresses mostly, to nodes that stand
// inside the entries. Its buckets are blocks of the store, twice as many each time
// the entries outnumber them, and given back when the last entry goes. Its stores
// are announced through the handle's hook.
#ifndef TARNBASE_RUNTIME_INDEX_ADDRESS_MAP_H
#define TARNBASE_RUNTIME_INDEX_ADDRESS_MAP_H

#include <cstdint>

#include "tarnbase/handle.h"

namespace tarn::runtime {

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

inline std::uint64_t map_key(const void *address) {
    return reinterpret_cast<std::uintptr_t>(address);
}

// Names a map for the length of a call.
class AddressMap {
 public:
    AddressMap(kel_handle *handle, MapRoot &root) : handle_(handle), root_(root) {}

    // The node with that key, or null.
    MapNode *find(std::uint64_t key) const;
    // Enters `node`, memory that belongs to the caller's operation alone, under a
    // key that isn't there. False: no memory for the first buckets, nothing changed.
    bool insert(std::uint32_t tx_id, std::uint64_t key, MapNode *node);
    // Puts `node` in the place of the node with that key, and returns that one; null
    // if there is none, and nothing has changed.
    MapNode *replace(std::uint32_t tx_id, std::uint64_t key, MapNode *node);
    // Takes the node with that key out and returns it, or null.
    MapNode *remove(std::uint32_t tx_id, std::uint64_t key);

 private:
    MapNode **link_to(std::uint64_t key) const;
    bool make_room(std::uint32_t tx_id);
    void rehash(std::uint32_t tx_id, MapNode **buckets, std::uint64_t count);

    kel_handle *handle_;
    MapRoot &root_;
};

}  // namespace tarn::runtime

#endif
