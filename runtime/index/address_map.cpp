// SPDX-License-Identifier: Apache-2.0
#include "runtime/index/address_map.h"

#include <algorithm>
#include <cstring>

namespace tarnbase::runtime {

namespace {

// The bucket whose entries are divided when another one is added.
constexpr std::uint64_t divided_bucket(std::uint64_t added) {
    return added - std::bit_floor(added);
}

}  // namespace

// The word that points to the node with that key, or null.
MapNode **AddressMap::link_to(std::uint64_t key) const {
    if (root_.entries == 0) return nullptr;
    MapNode **link = &bucket_at(root_, bucket_of(key, root_.bucket_count));
    while (*link != nullptr && (*link)->key != key) link = &(*link)->next;
    return *link != nullptr ? link : nullptr;
}

MapNode *AddressMap::find(std::uint64_t key) const {
    MapNode **link = link_to(key);
    return link != nullptr ? *link : nullptr;
}

bool AddressMap::insert(WriteLog log, std::uint64_t key, MapNode *node) {
    // Two, if there was no memory for others before.
    for (int i = 0; i < 2 && root_.entries >= root_.bucket_count; ++i) {
        if (!add_bucket(log)) break;
    }
    // Longer chains are slower, but work: only a map without buckets has to get some.
    if (root_.bucket_count == 0) return false;
    MapNode *&bucket = bucket_at(root_, bucket_of(key, root_.bucket_count));
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
        release_blocks(log, root_.top, buckets_below_top(root_.bucket_count), root_.bucket_count);
        log.set(root_, MapRoot{});
    }
    return node;
}

// False: no memory, or there are as many as there can be. Nothing has changed then.
bool AddressMap::add_bucket(WriteLog log) {
    const std::uint64_t added = root_.bucket_count;
    if (added == most_buckets) return false;
    void *const top = top_with(log, added);
    if (top == nullptr) return false;
    if (added == 0) {
        log.set(root_, MapRoot{top, least_buckets, root_.entries});
        return true;
    }
    if (top != root_.top) log.set(root_.top, top);
    log.set(root_.bucket_count, added + 1);
    divide(log, added);
    // The next division reads this node.
    __builtin_prefetch(bucket_at(root_, divided_bucket(added + 1)));
    return true;
}

// Makes the place of a bucket. Returns the top of the blocks that have it; null: no memory.
void *AddressMap::top_with(WriteLog log, std::uint64_t added) {
    if (added < map_block_places) {
        const std::uint64_t places = first_block_places(added + 1);
        const std::uint64_t present = added == 0 ? 0 : first_block_places(added);
        return places == present ? root_.top : larger_first_block(log, present, places);
    }
    if (added % map_block_places != 0) return root_.top;
    std::uint64_t below = buckets_below_top(added);
    if (added == below * map_block_places) return higher_top(log, below);
    auto *block = static_cast<void **>(root_.top);
    for (; added % below != 0; below /= map_block_places) {
        block = static_cast<void **>(block[added / below % map_block_places]);
    }
    void *const made = make_blocks(log, below / map_block_places);
    if (made == nullptr) return nullptr;
    log.set(block[added / below % map_block_places], made);
    return root_.top;
}

void *AddressMap::larger_first_block(WriteLog log, std::uint64_t present, std::uint64_t places) {
    void *const larger = allocator_.allocate(log.tx_id, places * sizeof(MapNode *));
    if (larger == nullptr || present == 0) return larger;
    std::memcpy(larger, root_.top, present * sizeof(MapNode *));
    allocator_.release(log.tx_id, root_.top);
    return larger;
}

// Another level above the top, whose places had `below` buckets each and are all in use.
void *AddressMap::higher_top(WriteLog log, std::uint64_t below) {
    auto **const top = static_cast<void **>(allocator_.allocate(log.tx_id, map_block_bytes));
    if (top == nullptr) return nullptr;
    top[0] = root_.top;
    top[1] = make_blocks(log, below);
    if (top[1] != nullptr) return top;
    allocator_.release(log.tx_id, top);
    return nullptr;
}

// A block whose places have `below` buckets each, and below it those of its first bucket. Null:
// no memory.
void *AddressMap::make_blocks(WriteLog log, std::uint64_t below) {
    auto **const block = static_cast<void **>(allocator_.allocate(log.tx_id, map_block_bytes));
    if (block == nullptr || below == 1) return block;
    block[0] = make_blocks(log, below / map_block_places);
    if (block[0] != nullptr) return block;
    allocator_.release(log.tx_id, block);
    return nullptr;
}

// Moves what belongs in the bucket that was added.
void AddressMap::divide(WriteLog log, std::uint64_t added) {
    MapNode *moved = nullptr;
    for (MapNode **link = &bucket_at(root_, divided_bucket(added)); *link != nullptr;) {
        MapNode *const node = *link;
        if (bucket_of(node->key, added + 1) != added) {
            link = &node->next;
            continue;
        }
        log.set(*link, node->next);
        // Most often it is alone: then its block doesn't change.
        if (node->next != moved) log.set(node->next, moved);
        moved = node;
    }
    MapNode *&bucket = bucket_at(root_, added);
    if (bucket != moved) log.set(bucket, moved);
}

// Releases a block that has so many buckets, and `below` of them at each place.
void AddressMap::release_blocks(WriteLog log, void *block, std::uint64_t below,
                                std::uint64_t buckets) {
    for (std::uint64_t first = 0; below > 1 && first < buckets; first += below) {
        release_blocks(log, static_cast<void **>(block)[first / below], below / map_block_places,
                       std::min(below, buckets - first));
    }
    allocator_.release(log.tx_id, block);
}

}  // namespace tarnbase::runtime
