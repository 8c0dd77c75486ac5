/* SPDX-License-Identifier: Apache-2.0 */
// An index of numbers, with orders that are known to different degrees.
#ifndef TESTS_UNIT_RUNTIME_STORE_NUMBER_INDEX_H
#define TESTS_UNIT_RUNTIME_STORE_NUMBER_INDEX_H

#include <array>
#include <cstring>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "runtime/index/index_form.h"
#include "runtime/index/key_index.h"
#include "tests/unit/runtime_store/support.h"

namespace tarn::test {

using tarnbase::runtime::Compare;
using tarnbase::runtime::first_leaf;
using tarnbase::runtime::IndexPage;
using tarnbase::runtime::is_page;
using tarnbase::runtime::KeyBytes;
using tarnbase::runtime::KeyHints;
using tarnbase::runtime::KeyOrder;
using tarnbase::runtime::number_of;
using tarnbase::runtime::set_order_of_keys;

struct Entry {
    kel_index_node node;
    int key;
};

inline Entry *entry_of(kel_index_node *node) { return reinterpret_cast<Entry *>(node); }
inline int key_of(const kel_index_node *node) { return reinterpret_cast<const Entry *>(node)->key; }

// How much of a key its bytes contain. Each has a comparison of its own, which the order belongs
// to.
enum class Order { unknown, exact, coarse, after_a_long_prefix, in_groups };

inline std::uint64_t comparisons = 0;

template <Order>
std::uint32_t compare(const kel_index_node *a, const kel_index_node *b) {
    ++comparisons;
    return key_of(a) < key_of(b) ? 0 : key_of(a) == key_of(b) ? 1 : 2;
}

// Puts a number of eight bytes, the most significant one first.
inline void put(KeyBytes &bytes, std::size_t at, std::uint64_t number) {
    for (int shift = 56; shift >= 0 && at < bytes.size(); shift -= 8) {
        bytes.at(at++) = static_cast<unsigned char>(number >> shift);
    }
}

class BytesOfKey final : public KeyOrder {
 public:
    explicit BytesOfKey(Order order) : order_(order) {}
    void encode(const kel_index_node *node, KeyBytes &bytes) const override {
        bytes.fill(0);
        const auto key = static_cast<std::uint64_t>(key_of(node) + 1'000'000);
        switch (order_) {
            case Order::exact:
                put(bytes, 0, key);
                break;
            case Order::coarse:
                put(bytes, 0, key / 50);
                break;
            case Order::after_a_long_prefix:
                std::fill_n(bytes.begin(), 30, static_cast<unsigned char>('x'));
                put(bytes, 30, key);
                break;
            case Order::in_groups:
                // Ten groups with a prefix of their own, in which the keys differ late.
                std::fill_n(bytes.begin(), 20, static_cast<unsigned char>(key / 500));
                put(bytes, 20, key);
                break;
            case Order::unknown:
                break;
        }
    }
    // Wrong, as they may be.
    KeyHints hints(const kel_index_node *node) const override { return {key_of(node), -1}; }

 private:
    Order order_;
};

struct Known {
    Order order;
    const char *name;
    Compare compare;
};
inline constexpr std::array<Known, 5> all_orders = {{
    {Order::unknown, "unknown", compare<Order::unknown>},
    {Order::exact, "exact", compare<Order::exact>},
    {Order::coarse, "coarse", compare<Order::coarse>},
    {Order::after_a_long_prefix, "after_a_long_prefix", compare<Order::after_a_long_prefix>},
    {Order::in_groups, "in_groups", compare<Order::in_groups>},
}};

inline void make_known(const Known &known) {
    static std::vector<std::unique_ptr<BytesOfKey>> orders;
    if (known.order == Order::unknown) return;
    orders.push_back(std::make_unique<BytesOfKey>(known.order));
    set_order_of_keys(known.compare, orders.back().get());
}

// Checks the pages of an index and returns its keys.
class Pages {
 public:
    Pages(void **anchor, const KeyOrder *order) : anchor_(anchor), order_(order) {
        auto *root = static_cast<IndexPage *>(*anchor);
        check(*root, root->level);
        EXPECT_EQ(last_->next, nullptr);
    }
    std::vector<int> keys;

 private:
    void check(const IndexPage &page, std::uint32_t level) {
        ASSERT_EQ(page.mark, tarnbase::runtime::index_page_mark);
        ASSERT_EQ(page.level, level);
        ASSERT_GE(page.count, 1U);
        ASSERT_LE(page.count, IndexPage::capacity);
        for (std::uint32_t slot = page.first_digest() + 1; slot < page.count; ++slot) {
            EXPECT_LE(page.digest(slot - 1), page.digest(slot));
        }
        if (page.is_leaf()) return check_leaf(page);
        for (std::uint32_t slot = 0; slot < page.count; ++slot) check(*page.page(slot), level - 1);
    }
    void check_leaf(const IndexPage &leaf) {
        EXPECT_EQ(leaf.previous, last_);
        if (last_ != nullptr) {
            EXPECT_EQ(last_->next, &leaf);
        }
        last_ = &leaf;
        for (std::uint32_t slot = 0; slot < leaf.count; ++slot) {
            EXPECT_EQ(tarnbase::runtime::anchor_of(leaf.node(slot)), anchor_);
            for (const int link : {0, 1, 2}) EXPECT_EQ(leaf.node(slot)->opaque[link], 0U);
            KeyBytes bytes;
            order_->encode(leaf.node(slot), bytes);
            EXPECT_EQ(std::memcmp(bytes.data(), leaf.prefix, leaf.skip), 0);
            EXPECT_EQ(number_of(bytes.data() + leaf.skip), leaf.digest(slot));
            EXPECT_EQ(leaf.entry(slot).hints.object, key_of(leaf.node(slot)));
            keys.push_back(key_of(leaf.node(slot)));
        }
    }

    void **anchor_;
    const KeyOrder *order_;
    const IndexPage *last_ = nullptr;
};

// An index with its anchor and nodes in the arena, and a node for each key.
class Index {
 public:
    Index(SmallStore &store, const Known &known, int keys) : compare(known.compare), store_(store) {
        make_known(known);
        anchor = static_cast<void **>(store.allocate(sizeof(void *)));
        for (int key = 0; key < keys; ++key) {
            auto *made = static_cast<Entry *>(store.allocate(sizeof(Entry)));
            made->key = key;
            entries.push_back(made);
        }
    }

    bool insert(Entry *entry, std::uint32_t tx = KEL_TX_NONE) {
        return e_avl_insert(store_.handle->arena, tx, anchor, &entry->node, &aux, compare) != 0;
    }
    bool remove(Entry *entry, std::uint32_t tx = KEL_TX_NONE) {
        return e_avl_delete(store_.handle->arena, tx, anchor, &entry->node, &aux, compare) != 0;
    }
    kel_index_node *find(int key) const {
        const Entry probe{{}, key};
        return e_avl_search(*anchor, &probe.node, compare);
    }
    kel_index_node *next(const kel_index_node *node) const {
        return e_avl_get_next(*anchor, node, compare);
    }
    kel_index_node *previous(const kel_index_node *node) const {
        return e_avl_get_prev(*anchor, node, compare);
    }
    Entry *entry(int key) const { return entries[static_cast<std::size_t>(key)]; }
    bool has_pages() const { return is_page(*anchor); }

    std::uint64_t leaves() const {
        std::uint64_t count = 0;
        const IndexPage *leaf =
            has_pages() ? first_leaf(static_cast<IndexPage *>(*anchor)) : nullptr;
        for (; leaf != nullptr; leaf = leaf->next) ++count;
        return count;
    }
    std::vector<std::uint32_t> counts_of_leaves() const {
        std::vector<std::uint32_t> counts;
        const IndexPage *leaf =
            has_pages() ? first_leaf(static_cast<IndexPage *>(*anchor)) : nullptr;
        for (; leaf != nullptr; leaf = leaf->next) counts.push_back(leaf->count);
        return counts;
    }
    std::vector<int> walked() const {
        std::vector<int> keys;
        e_avl_walk(
            *anchor,
            [](kel_index_node *node, void *context) {
                static_cast<std::vector<int> *>(context)->push_back(key_of(node));
                return 0U;
            },
            &keys);
        return keys;
    }
    void expect_keys(const std::set<int> &wanted) const {
        const std::vector<int> keys(wanted.begin(), wanted.end());
        EXPECT_EQ(walked(), keys);
        if (has_pages()) {
            EXPECT_EQ(Pages(anchor, tarnbase::runtime::order_of_keys(compare)).keys, keys);
        }
        expect_node(e_avl_get_first(*anchor), wanted.empty() ? -1 : *wanted.begin());
        expect_node(e_avl_get_last(*anchor), wanted.empty() ? -1 : *wanted.rbegin());
    }
    // The neighbours of a key, found with a node that may or may not be in the index.
    void expect_neighbours(const kel_index_node *node, const std::set<int> &wanted) const {
        const auto after = wanted.upper_bound(key_of(node));
        const auto from = wanted.lower_bound(key_of(node));
        expect_node(next(node), after == wanted.end() ? -1 : *after);
        expect_node(previous(node), from == wanted.begin() ? -1 : *std::prev(from));
    }
    void expect_node(kel_index_node *node, int key) const {
        EXPECT_EQ(node, key < 0 ? nullptr : &entry(key)->node) << "key " << key;
    }

    Compare compare;
    void **anchor = nullptr;
    std::uintptr_t aux = 0;
    std::vector<Entry *> entries;

 private:
    SmallStore &store_;
};

}  // namespace tarn::test

#endif
