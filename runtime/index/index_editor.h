/* SPDX-License-Identifier: Apache-2.0 */
// Edits of the pages of an index whose order is known. Each store into memory that is in use is
// announced first; a new page is filled before it is linked.
#ifndef TARNBASE_RUNTIME_INDEX_INDEX_EDITOR_H
#define TARNBASE_RUNTIME_INDEX_INDEX_EDITOR_H

#include <array>
#include <cstdint>

#include "runtime/index/index_search.h"
#include "runtime/index/key_index.h"

namespace tarnbase::runtime {

class IndexEditor {
 public:
    IndexEditor(const IndexStore &store, void **anchor, const KeyOrder &order)
        : store_(store), anchor_(anchor), order_(order) {}
    ~IndexEditor();
    IndexEditor(const IndexEditor &) = delete;
    IndexEditor &operator=(const IndexEditor &) = delete;

    // Inserts at the place that a search for `key` has found. False: no memory, and nothing has
    // changed.
    bool insert(Path &path, kel_index_node *node, const KeyBytes &key);
    void remove(Path &path);
    // Removes an entry of a leaf that keeps enough others, so that no other page changes. False:
    // it wouldn't, and nothing has changed.
    bool remove_from_large(Position at);

 private:
    // What is inserted in a page.
    struct Entry {
        PageEntry content;
        const KeyBytes &key;
    };

    void free_page(IndexPage *page);
    template <typename T>
    void set(T &place, T value);
    void set_count(IndexPage &page, std::uint32_t count);
    void put(IndexPage &page, std::uint32_t slot, const Entry &entry);
    void take_out(IndexPage &page, std::uint32_t slot);

    bool reserve(const Path &path);
    void add(Path &path, std::uint32_t level, std::uint32_t slot, const Entry &entry);
    void split(Path &path, std::uint32_t level, std::uint32_t slot, const Entry &entry);
    void move_entries(IndexPage &from, std::uint32_t first, IndexPage &to);
    void link_after(IndexPage &leaf, IndexPage &right);
    void link_above(Path &path, std::uint32_t level, IndexPage *left, IndexPage *right);

    void remove_from(Path &path, std::uint32_t level);
    void drop_page(Path &path, std::uint32_t level);
    void lower_root();
    void merge(Path &path);
    bool merge_right(Path &path, std::uint32_t left_slot);

    const IndexStore &store_;
    void **anchor_;
    const KeyOrder &order_;
    // Pages that an insertion needs. They are taken from the end, the leaf first.
    std::array<IndexPage *, most_index_levels + 1> reserved_{};
    std::uint32_t reserved_count_ = 0;
};

}  // namespace tarnbase::runtime

#endif
