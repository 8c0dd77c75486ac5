/* SPDX-License-Identifier: Apache-2.0 */
// A walk over the pages of a key index whose content may be damaged. Each page and node is entered
// once, after its block was found, so the walk ends.
#ifndef TARNBASE_RUNTIME_CHECK_INDEX_WALK_H
#define TARNBASE_RUNTIME_CHECK_INDEX_WALK_H

#include <string>
#include <vector>

#include "runtime/check/blocks.h"
#include "runtime/index/index_page.h"

namespace tarnbase::runtime {

// What is in the index.
class IndexedNodes {
 public:
    // Whether the node may be read: its block was found, and it wasn't entered before.
    virtual bool enter(kel_index_node *node) = 0;
    // Called in order.
    virtual void visit(kel_index_node *node) = 0;
    // The bytes of the key of the node that was visited last. False: they aren't known.
    virtual bool get_key(const kel_index_node *node, KeyBytes &bytes) const = 0;
    // For findings; null: the index.
    virtual std::string name(const kel_index_node *node) const = 0;

 protected:
    IndexedNodes() = default;
    IndexedNodes(const IndexedNodes &) = default;
    IndexedNodes &operator=(const IndexedNodes &) = default;
    ~IndexedNodes() = default;
};

class IndexWalk {
 public:
    IndexWalk(Findings &findings, Blocks &blocks, void **anchor, IndexedNodes &nodes)
        : findings_(findings), blocks_(blocks), anchor_(anchor), nodes_(nodes) {}

    void run();

 private:
    static constexpr int any_level = -1;

    // Bytes that keys before a page don't exceed, and those in it aren't less than.
    struct Separator {
        KeyBytes bytes;
        std::uint32_t length;
    };

    void walk(IndexPage *page, int level);
    bool enter(IndexPage *page, int level);
    static const char *wrong_form(const IndexPage &page, int level);
    void walk_below(IndexPage &page);
    void walk_leaf(IndexPage &leaf);
    void check_links(IndexPage &leaf);
    void check_digests(const IndexPage &page);
    void check_key(const IndexPage &leaf, std::uint32_t slot);
    void begin_page(const IndexPage &page, std::uint32_t slot);
    std::string page_name(const IndexPage *page) const;

    Findings &findings_;
    Blocks &blocks_;
    void **anchor_;
    IndexedNodes &nodes_;
    IndexPage *last_leaf_ = nullptr;
    KeyBytes last_key_{};
    bool has_last_key_ = false;
    std::vector<Separator> ahead_;  // of the pages whose first key comes next
};

}  // namespace tarnbase::runtime

#endif
