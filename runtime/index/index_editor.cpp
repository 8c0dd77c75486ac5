// SPDX-License-Identifier: Apache-2.0
#include "runtime/index/index_editor.h"

#include <cstring>

#include "runtime/index/index_form.h"
#include "runtime/index/page_digests.h"

namespace tarnbase::runtime {

namespace {

// A leaf with fewer entries is merged with a neighbour, if they fit in one page.
constexpr std::uint32_t least_of_leaf = IndexPage::capacity / 4;

}  // namespace

// ---- Pages ------------------------------------------------------------------------------------

IndexEditor::~IndexEditor() {
    while (reserved_count_ > 0) free_page(reserved_[--reserved_count_]);
}

void IndexEditor::free_page(IndexPage *page) {
    page_freed();
    store_.allocator.release(store_.log.tx_id, page);
}

template <typename T>
void IndexEditor::set(T &place, T value) {
    announce_bytes(store_.log, &place, sizeof place);
    place = value;
}

void IndexEditor::set_count(IndexPage &page, std::uint32_t count) {
    set(page.count, static_cast<std::uint16_t>(count));
}

// Inserts in a page that has space.
void IndexEditor::put(IndexPage &page, std::uint32_t slot, const Entry &entry) {
    fit_prefix(store_.log, page, entry.key);
    const std::uint8_t place = page.places[page.count];
    set(page.digests[place], number_of(entry.key.data() + page.skip));
    set(page.entries[place], entry.content);
    const std::uint32_t moved = page.count - slot;
    std::uint8_t *places = page.places + slot;
    announce_bytes(store_.log, places, moved + 1U);
    std::memmove(places + 1, places, moved);
    *places = place;
    set_count(page, page.count + 1U);
    entry_inserted(&page, slot);
}

void IndexEditor::take_out(IndexPage &page, std::uint32_t slot) {
    const std::uint8_t place = page.places[slot];
    const std::uint32_t moved = page.count - slot - 1U;
    std::uint8_t *places = page.places + slot;
    announce_bytes(store_.log, places, moved + 1U);
    std::memmove(places, places + 1, moved);
    places[moved] = place;
    set_count(page, page.count - 1U);
    entry_removed(&page, slot);
}

// ---- Inserting --------------------------------------------------------------------------------

bool IndexEditor::insert(Path &path, kel_index_node *node, const KeyBytes &key) {
    const Path::Step &leaf = path.leaf();
    if (leaf.page->is_full() && !reserve(path)) return false;
    set(*node, node_in(anchor_));
    add(path, 0, leaf.slot, {{node, order_.hints(node)}, key});
    return true;
}

// Allocates the pages that the insertion splits into, before anything is changed.
bool IndexEditor::reserve(const Path &path) {
    std::uint32_t full = 0;
    while (full < path.levels && path.steps[full].page->is_full()) ++full;
    const std::uint32_t needed = full == path.levels ? full + 1 : full;
    while (reserved_count_ < needed) {
        const std::uint32_t level = needed - 1 - reserved_count_;
        IndexPage *page = make_page(store_, level);
        if (page == nullptr) return false;
        reserved_[reserved_count_++] = page;
    }
    return true;
}

void IndexEditor::add(Path &path, std::uint32_t level, std::uint32_t slot, const Entry &entry) {
    IndexPage &page = *path.steps[level].page;
    if (!page.is_full()) return put(page, slot, entry);
    split(path, level, slot, entry);
}

void IndexEditor::split(Path &path, std::uint32_t level, std::uint32_t slot, const Entry &entry) {
    IndexPage &left = *path.steps[level].page;
    IndexPage &right = *reserved_[--reserved_count_];
    // Keys that are inserted in order fill each page before the next one begins.
    const bool is_at_end = slot == left.count && (level > 0 || left.next == nullptr);
    const std::uint32_t first = is_at_end ? left.count : left.count / 2U;
    move_entries(left, first, right);
    if (level == 0) link_after(left, right);
    if (slot <= first && !is_at_end) {
        put(left, slot, entry);
    } else {
        put(right, slot - first, entry);
    }
    improve_digests(store_.log, left, order_);
    improve_digests(store_.log, right, order_);
    link_above(path, level, &left, &right);
}

// Moves the entries from `first` on to a new page.
void IndexEditor::move_entries(IndexPage &from, std::uint32_t first, IndexPage &to) {
    const std::uint32_t moved = from.count - first;
    std::memcpy(to.prefix, from.prefix, sizeof to.prefix);
    to.skip = from.skip;
    for (std::uint32_t slot = 0; slot < moved; ++slot) {
        to.digests[slot] = from.digest(first + slot);
        to.entries[slot] = from.entry(first + slot);
    }
    to.count = static_cast<std::uint16_t>(moved);
    set_count(from, first);
    entries_moved(&from, first, {&to, 0});
}

void IndexEditor::link_after(IndexPage &leaf, IndexPage &right) {
    right.next = leaf.next;
    right.previous = &leaf;
    if (leaf.next != nullptr) set(leaf.next->previous, &right);
    set(leaf.next, &right);
}

// Adds the right half of a split page to the page above.
void IndexEditor::link_above(Path &path, std::uint32_t level, IndexPage *left, IndexPage *right) {
    if (!path.is_root(level)) {
        KeyBytes key;
        order_.encode(first_node(right), key);
        return add(path, level + 1, path.steps[level + 1].slot + 1, {{right, {}}, key});
    }
    IndexPage *root = reserved_[--reserved_count_];
    root->count = 2;
    root->entries[0].address = left;
    root->entries[1].address = right;
    make_digests(*root, order_);
    set(*anchor_, static_cast<void *>(root));
}

// ---- Removing ---------------------------------------------------------------------------------

void IndexEditor::remove(Path &path) {
    set(*path.leaf().page->node(path.leaf().slot), kel_index_node{});
    remove_from(path, 0);
}

bool IndexEditor::remove_from_large(Position at) {
    if (at.leaf->count <= least_of_leaf) return false;
    set(*at.leaf->node(at.slot), kel_index_node{});
    take_out(*at.leaf, at.slot);
    return true;
}

void IndexEditor::remove_from(Path &path, std::uint32_t level) {
    IndexPage *page = path.steps[level].page;
    take_out(*page, path.steps[level].slot);
    if (page->count == 0) {
        drop_page(path, level);
    } else if (path.is_root(level)) {
        lower_root();
    } else if (level == 0 && page->count < least_of_leaf) {
        merge(path);
    }
}

// Unlinks and frees a page whose entries are no longer used.
void IndexEditor::drop_page(Path &path, std::uint32_t level) {
    IndexPage *page = path.steps[level].page;
    if (page->previous != nullptr) set(page->previous->next, page->next);
    if (page->next != nullptr) set(page->next->previous, page->previous);
    if (path.is_root(level)) {
        set(*anchor_, static_cast<void *>(nullptr));
    } else {
        remove_from(path, level + 1);
    }
    free_page(page);
}

// Replaces a root with one page below it by that page.
void IndexEditor::lower_root() {
    for (auto *root = static_cast<IndexPage *>(*anchor_); !root->is_leaf() && root->count == 1;) {
        IndexPage *below = root->page(0);
        set(*anchor_, static_cast<void *>(below));
        free_page(root);
        root = below;
    }
}

// Merges a leaf that has few entries with a neighbour below the same page.
void IndexEditor::merge(Path &path) {
    const Path::Step above = path.steps[1];
    if (above.slot + 1U < above.page->count && merge_right(path, above.slot)) return;
    if (above.slot > 0) merge_right(path, above.slot - 1);
}

bool IndexEditor::merge_right(Path &path, std::uint32_t left_slot) {
    IndexPage *above = path.steps[1].page;
    IndexPage &left = *above->page(left_slot);
    IndexPage &right = *above->page(left_slot + 1);
    const std::uint32_t joined = left.count + right.count;
    // Some space stays free, so that the next insertion doesn't split the page again.
    if (joined > IndexPage::capacity / 4 * 3) return false;
    const std::uint32_t skip = common_prefix(left, right);
    shorten_prefix(store_.log, left, skip);
    shorten_prefix(store_.log, right, skip);
    for (std::uint32_t slot = 0; slot < right.count; ++slot) {
        const std::uint8_t place = left.places[left.count + slot];
        set(left.digests[place], right.digest(slot));
        set(left.entries[place], right.entry(slot));
    }
    entries_moved(&right, 0, {&left, left.count});
    set_count(left, joined);
    path.steps[0] = {&right, 0};
    path.steps[1].slot = left_slot + 1;
    drop_page(path, 0);
    return true;
}

}  // namespace tarnbase::runtime
