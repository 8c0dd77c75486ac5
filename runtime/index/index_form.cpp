// SPDX-License-Identifier: Apache-2.0
#include "runtime/index/index_form.h"

#include <cstddef>
#include <iterator>
#include <new>
#include <numeric>
#include <vector>

#include "runtime/index/page_digests.h"
#include "runtime/index/positions.h"

namespace tarnbase::runtime {

namespace {

// Entries of a page that is made of a tree. The rest of its space is for insertions.
constexpr std::uint32_t first_count = IndexPage::capacity / 4 * 3;

template <typename T>
void set(WriteLog log, T &place, T value) {
    announce_bytes(log, &place, sizeof place);
    place = value;
}

void free_page(const IndexStore &store, IndexPage *page) {
    page_freed();
    store.allocator.release(store.log.tx_id, page);
}

// Makes the pages of a tree, the leaves first. Throws std::bad_alloc.
class PageBuilder {
 public:
    PageBuilder(const IndexStore &store, const KeyOrder &order) : store_(store), order_(order) {}
    ~PageBuilder() {
        for (IndexPage *page : pages_) free_page(store_, page);
    }
    PageBuilder(const PageBuilder &) = delete;
    PageBuilder &operator=(const PageBuilder &) = delete;

    void build(void *tree) {
        tree_walk(
            tree,
            [](kel_index_node *node, void *builder) {
                auto &pages = *static_cast<PageBuilder *>(builder);
                pages.append(0, {node, pages.order_.hints(node)});
                return std::uint32_t{0};
            },
            this);
        leaves_ = pages_.size();
        finish_level(0);
        std::size_t first = 0;
        for (std::uint32_t level = 1; pages_.size() - first > 1; ++level) {
            const std::size_t end = pages_.size();
            for (; first < end; ++first) append(level, {pages_[first], {}}, end);
            finish_level(end);
        }
    }
    // Returns the root, after marking the nodes as those of the index. The pages are the caller's.
    IndexPage *link(void **anchor) {
        for (std::size_t i = 0; i < leaves_; ++i) {
            for (std::uint32_t slot = 0; slot < pages_[i]->count; ++slot) {
                set(store_.log, *pages_[i]->node(slot), node_in(anchor));
            }
        }
        IndexPage *const root = pages_.back();
        pages_.clear();
        return root;
    }

 private:
    // Appends to the last page of a level, whose pages begin at `first`.
    void append(std::uint32_t level, const PageEntry &entry, std::size_t first = 0) {
        if (pages_.size() == first || pages_.back()->count == first_count) {
            pages_.reserve(pages_.size() + 1);
            IndexPage *page = make_page(store_, level);
            if (page == nullptr) throw std::bad_alloc();
            if (level == 0 && !pages_.empty()) {
                page->previous = pages_.back();
                page->previous->next = page;
            }
            pages_.push_back(page);
        }
        IndexPage &page = *pages_.back();
        page.entries[page.count++] = entry;
    }
    void finish_level(std::size_t first) {
        for (; first < pages_.size(); ++first) make_digests(*pages_[first], order_);
    }

    const IndexStore &store_;
    const KeyOrder &order_;
    std::vector<IndexPage *> pages_;  // those of a level follow those of the level below
    std::size_t leaves_ = 0;
};

// The nodes in leaves, one after the other.
struct LeafNodes {
    Position at;

    static kel_index_node *take(void *nodes) {
        Position &at = static_cast<LeafNodes *>(nodes)->at;
        kel_index_node *const node = node_at(at);
        at = position_after(at);
        return node;
    }
};

void free_pages(const IndexStore &store, IndexPage *page) {
    for (std::uint32_t slot = 0; !page->is_leaf() && slot < page->count; ++slot) {
        free_pages(store, page->page(slot));
    }
    free_page(store, page);
}

}  // namespace

IndexPage *make_page(const IndexStore &store, std::uint32_t level) {
    void *block = store.allocator.allocate(store.log.tx_id, sizeof(IndexPage));
    auto *page = static_cast<IndexPage *>(block);
    if (page == nullptr) return nullptr;
    page->mark = index_page_mark;
    page->level = static_cast<std::uint8_t>(level);
    std::iota(std::begin(page->places), std::end(page->places), std::uint8_t{0});
    return page;
}

void make_pages_of_tree(const IndexStore &store, void **anchor, const KeyOrder &order) try {
    PageBuilder builder(store, order);
    builder.build(*anchor);
    set(store.log, *anchor, static_cast<void *>(builder.link(anchor)));
    forget_positions();
} catch (const std::bad_alloc &) {
    // The index stays a tree.
}

void make_tree_of_pages(const IndexStore &store, void **anchor) {
    auto *const root = static_cast<IndexPage *>(*anchor);
    std::uint64_t count = 0;
    for (IndexPage *leaf = first_leaf(root); leaf != nullptr; leaf = leaf->next) {
        count += leaf->count;
    }
    LeafNodes nodes{{first_leaf(root), 0}};
    tree_build(store.log, anchor, count, LeafNodes::take, &nodes);
    free_pages(store, root);
    forget_positions();
}

}  // namespace tarnbase::runtime
