/* SPDX-License-Identifier: Apache-2.0 */
// Walks over the trees and the maps of a store whose links may be damaged. Each node is entered
// once, after its block was found, so a walk ends.
#ifndef TARNBASE_RUNTIME_CHECK_WALKS_H
#define TARNBASE_RUNTIME_CHECK_WALKS_H

#include <algorithm>
#include <cstdint>
#include <string>

#include "runtime/check/blocks.h"
#include "runtime/index/address_map.h"
#include "runtime/index/node.h"

namespace tarnbase::runtime {

// `owner` has
//   bool enter(Node *node)          whether the node may be read: its block was found, and it
//                                   wasn't entered before
//   void visit(Node *node)          called in order
//   std::string name(const Node *)  for findings; null: the tree
template <typename Owner>
class TreeWalk {
 public:
    TreeWalk(Findings &findings, void **anchor, Owner &owner)
        : findings_(findings), anchor_(anchor), owner_(owner) {}

    void run() { walk(static_cast<Node *>(*anchor_), nullptr, 0); }

 private:
    // No tree that fits in a store is that high.
    static constexpr int most_levels = 64;

    // Returns the height, or -1 if it isn't known.
    int walk(Node *node, const Node *parent, int level) {
        if (node == nullptr) return 0;
        if (level == most_levels) {
            findings_.add(owner_.name(nullptr), "the tree has more than %d levels", most_levels);
            return -1;
        }
        if (!owner_.enter(node)) return -1;
        __builtin_prefetch(node->child[before]);
        __builtin_prefetch(node->child[after]);
        if (node->parent() != parent) {
            findings_.add(owner_.name(node), "its parent in the tree is %p, expected %p",
                          static_cast<const void *>(node->parent()),
                          static_cast<const void *>(parent));
        }
        if (node->tree != anchor_) {
            findings_.add(owner_.name(node), "its node is one of another tree");
        }
        const int first = walk(node->child[before], node, level + 1);
        owner_.visit(node);
        const int second = walk(node->child[after], node, level + 1);
        if (first < 0 || second < 0) return -1;
        check_balance(node, first, second);
        return 1 + std::max(first, second);
    }

    void check_balance(const Node *node, int first, int second) {
        const Balance right = first == second       ? Balance::even
                              : first == second + 1 ? Balance::before_higher
                                                    : Balance::after_higher;
        if (std::abs(first - second) > 1) {
            findings_.add(owner_.name(node),
                          "the tree isn't balanced: subtrees of %d and %d levels", first, second);
        } else if (node->balance() != right) {
            findings_.add(owner_.name(node), "its balance in the tree is %d, expected %d",
                          static_cast<int>(node->balance()), static_cast<int>(right));
        }
    }

    Findings &findings_;
    void **anchor_;
    Owner &owner_;
};

// Claims a block that has so many buckets, `below` of them at each place, and those below it.
// False: some bucket can't be read.
inline bool claim_map_block(Blocks &blocks, const void *block, std::uint64_t below,
                            std::uint64_t buckets, std::uint64_t places, const std::string &name) {
    const auto where = [&] { return name + ", its buckets"; };
    if (!blocks.claim(block, places * sizeof(void *), where)) return false;
    for (std::uint64_t first = 0; below > 1 && first < buckets; first += below) {
        const void *const part = static_cast<void *const *>(block)[first / below];
        const std::uint64_t inside = std::min(below, buckets - first);
        if (!claim_map_block(blocks, part, below / map_block_places, inside, map_block_places,
                             name)) {
            return false;
        }
    }
    return true;
}

// Claims the blocks of a map's buckets. False: the map can't be walked.
inline bool claim_buckets(Blocks &blocks, Findings &findings, const MapRoot &root,
                          const std::string &name) {
    if (root.top == nullptr) {
        if (root.bucket_count == 0 && root.entries == 0) return true;
        findings.add(name, "it has no buckets, but %llu entries in %llu",
                     static_cast<unsigned long long>(root.entries),
                     static_cast<unsigned long long>(root.bucket_count));
        return false;
    }
    if (root.bucket_count < least_buckets || root.bucket_count > most_buckets) {
        findings.add(name, "it has %llu buckets, expected %llu to %llu",
                     static_cast<unsigned long long>(root.bucket_count),
                     static_cast<unsigned long long>(least_buckets),
                     static_cast<unsigned long long>(most_buckets));
        return false;
    }
    return claim_map_block(blocks, root.top, buckets_below_top(root.bucket_count),
                           root.bucket_count, first_block_places(root.bucket_count), name);
}

// Walks a map. `enter(MapNode *)` as above. Returns whether the map can be searched.
template <typename Enter>
bool walk_map(Blocks &blocks, Findings &findings, const MapRoot &root, const std::string &name,
              Enter enter) {
    if (!claim_buckets(blocks, findings, root, name)) return false;
    bool usable = true;
    std::uint64_t entries = 0;
    for (std::uint64_t i = 0; i < root.bucket_count; ++i) {
        constexpr std::uint64_t ahead = 8;
        if (i + ahead < root.bucket_count) __builtin_prefetch(bucket_at(root, i + ahead));
        for (MapNode *node = bucket_at(root, i); node != nullptr; node = node->next) {
            if (!enter(node)) {
                usable = false;
                break;
            }
            ++entries;
            if (bucket_of(node->key, root.bucket_count) == i) continue;
            findings.add(name, "the entry of 0x%llx is in bucket %llu, expected %llu",
                         static_cast<unsigned long long>(node->key),
                         static_cast<unsigned long long>(i),
                         static_cast<unsigned long long>(bucket_of(node->key, root.bucket_count)));
        }
    }
    if (usable && entries != root.entries) {
        findings.add(name, "it has %llu entries, but counts %llu",
                     static_cast<unsigned long long>(entries),
                     static_cast<unsigned long long>(root.entries));
    }
    return usable;
}

}  // namespace tarnbase::runtime

#endif
