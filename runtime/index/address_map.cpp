// SPDX-License-Identifier: Apache-2.0
#include "runtime/index/address_map.h"

namespace tarnbase::runtime {

namespace {

constexpr std::uint64_t least_buckets = 16;

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

bool AddressMap::insert(WriteLog log, std::uint64_t key, MapNode *node) {
    if (!ensure_bucket(log)) return false;
    MapNode *&bucket = root_.buckets[bucket_of(key, root_.bucket_count)];
    node->key = key;
    node->next = bucket;
    log.set(bucket, node);
    log.set(root_.entries, root_.entries + 1);
    return true;
}

MapNode *AddressMap::replace(WriteLog log, std::uint64_t key, MapNode *node) {
    MapNode **link = link_to(key);
    if (link == nullptr) return nullptr;
    MapNode *old = *link;
    node->key = key;
    node->next = old->next;
    log.set(*link, node);
    return old;
}

MapNode *AddressMap::remove(WriteLog log, std::uint64_t key) {
    MapNode **link = link_to(key);
    if (link == nullptr) return nullptr;
    MapNode *node = *link;
    log.set(*link, node->next);
    log.set(root_.entries, root_.entries - 1);
    if (root_.entries == 0) {
        allocator_.release(log.tx_id, root_.buckets);
        log.set(root_, MapRoot{});
    }
    return node;
}

bool AddressMap::ensure_bucket(WriteLog log) {
    if (root_.entries < root_.bucket_count) return true;
    const std::uint64_t count = root_.bucket_count == 0 ? least_buckets : 2 * root_.bucket_count;
    auto **buckets =
        static_cast<MapNode **>(allocator_.allocate(log.tx_id, count * sizeof(MapNode *)));
    // Longer chains are slower, but work: only a map without buckets has to have some.
    if (buckets == nullptr) return root_.bucket_count != 0;
    rehash(log, buckets, count);
    return true;
}

void AddressMap::rehash(WriteLog log, MapNode **buckets, std::uint64_t count) {
    for (std::uint64_t i = 0; i < root_.bucket_count; ++i) {
        for (MapNode *node = root_.buckets[i]; node != nullptr;) {
            MapNode *next = node->next;
            MapNode *&bucket = buckets[bucket_of(node->key, count)];
            log.set(node->next, bucket);
            bucket = node;
            node = next;
        }
    }
    if (root_.buckets != nullptr) allocator_.release(log.tx_id, root_.buckets);
    log.set(root_, MapRoot{buckets, count, root_.entries});
}

}  // namespace tarnbase::runtime
