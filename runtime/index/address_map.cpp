// SPDX-License-Identifier: Apache-2.0
#include "runtime/index/address_map.h"

#include "runtime/handle/handle.h"

namespace tarn::runtime {

namespace {

constexpr std::uint64_t least_buckets = 16;

std::uint64_t bucket_of(std::uint64_t key, std::uint64_t bucket_count) {
    // Addresses differ in their middle bits; the product's high bits depend on all.
    return (key * 0x9e3779b97f4a7c15ULL >> 32) & (bucket_count - 1);
}

}  // namespace

// The word that points to the node with that key, or null.
MapNode **AddressMap::link_to(std::uint64_t key) const {
    if (root_.entries == 0) return nullptr;
    MapNode **link = &root_.buckets[bucket_of(key, root_.bucket_count)];
    while (*link != nullptr && (*link)->key != key) link = &(*link)->next;
    return *link != nullptr ? link : nullptr;
}

MapNode *AddressMap::find(std::uint64_t key) const {
    MapNode **link = link_to(key);
    return link != nullptr ? *link : nullptr;
}

bool AddressMap::insert(std::uint32_t tx_id, std::uint64_t key, MapNode *node) {
    if (!make_room(tx_id)) return false;
    MapNode *&bucket = root_.buckets[bucket_of(key, root_.bucket_count)];
    node->key = key;
    node->next = bucket;
    announced_set(handle_, tx_id, bucket, node);
    announced_set(handle_, tx_id, root_.entries, root_.entries + 1);
    return true;
}

MapNode *AddressMap::replace(std::uint32_t tx_id, std::uint64_t key, MapNode *node) {
    MapNode **link = link_to(key);
    if (link == nullptr) return nullptr;
    MapNode *old = *link;
    node->key = key;
    node->next = old->next;
    announced_set(handle_, tx_id, *link, node);
    return old;
}

MapNode *AddressMap::remove(std::uint32_t tx_id, std::uint64_t key) {
    MapNode **link = link_to(key);
    if (link == nullptr) return nullptr;
    MapNode *node = *link;
    announced_set(handle_, tx_id, *link, node->next);
    announced_set(handle_, tx_id, root_.entries, root_.entries - 1);
    if (root_.entries == 0) {
        store_of(handle_).release(tx_id, root_.buckets);
        announced_set(handle_, tx_id, root_, MapRoot{});
    }
    return node;
}

bool AddressMap::make_room(std::uint32_t tx_id) {
    if (root_.entries < root_.bucket_count) return true;
    const std::uint64_t count = root_.bucket_count == 0 ? least_buckets : 2 * root_.bucket_count;
    auto **buckets =
        static_cast<MapNode **>(store_of(handle_).allocate(tx_id, count * sizeof(MapNode *)));
    // Long chains are slow and right: only a map without any buckets needs them now.
    if (buckets == nullptr) return root_.bucket_count != 0;
    rehash(tx_id, buckets, count);
    return true;
}

void AddressMap::rehash(std::uint32_t tx_id, MapNode **buckets, std::uint64_t count) {
    for (std::uint64_t i = 0; i < root_.bucket_count; ++i) {
        for (MapNode *node = root_.buckets[i]; node != nullptr;) {
            MapNode *next = node->next;
            MapNode *&bucket = buckets[bucket_of(node->key, count)];
            announced_set(handle_, tx_id, node->next, bucket);
            bucket = node;
            node = next;
        }
    }
    if (root_.buckets != nullptr) store_of(handle_).release(tx_id, root_.buckets);
    announced_set(handle_, tx_id, root_, MapRoot{buckets, count, root_.entries});
}

}  // namespace tarn::runtime
