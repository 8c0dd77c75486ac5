// SPDX-License-Identifier: Apache-2.0
// The key index against std::set, as a tree and as pages, with orders that are known to different
// degrees.
#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "runtime/index/index_form.h"
#include "runtime/index/key_index.h"
#include "tests/unit/runtime_store/support.h"

namespace tarn::test {
namespace {

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

Entry *entry_of(kel_index_node *node) { return reinterpret_cast<Entry *>(node); }
int key_of(const kel_index_node *node) { return reinterpret_cast<const Entry *>(node)->key; }

// How much of a key its bytes contain. Each has a comparison of its own, which the order belongs
// to.
enum class Order { unknown, exact, coarse, after_a_long_prefix, in_groups };

std::uint64_t comparisons = 0;

template <Order>
std::uint32_t compare(const kel_index_node *a, const kel_index_node *b) {
    ++comparisons;
    return key_of(a) < key_of(b) ? 0 : key_of(a) == key_of(b) ? 1 : 2;
}

// Puts a number of eight bytes, the most significant one first.
void put(KeyBytes &bytes, std::size_t at, std::uint64_t number) {
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
constexpr std::array<Known, 5> all_orders = {{
    {Order::unknown, "unknown", compare<Order::unknown>},
    {Order::exact, "exact", compare<Order::exact>},
    {Order::coarse, "coarse", compare<Order::coarse>},
    {Order::after_a_long_prefix, "after_a_long_prefix", compare<Order::after_a_long_prefix>},
    {Order::in_groups, "in_groups", compare<Order::in_groups>},
}};

void make_known(const Known &known) {
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

std::string order_name(const ::testing::TestParamInfo<std::size_t> &info) {
    return all_orders.at(info.param).name;
}

class KeyIndex : public ::testing::TestWithParam<std::size_t> {
 protected:
    static constexpr int most_keys = 5000;
    const Known &known = all_orders.at(GetParam());
    SmallStore store;
    Index index{store, known, most_keys};
    std::set<int> model;
    Chance chance{static_cast<std::uint32_t>(31 + GetParam())};

    int any_key() { return static_cast<int>(chance.below(most_keys)); }
    void insert(int key, std::uint32_t tx = KEL_TX_NONE) {
        // A node in the index must not be inserted again, but an equal one may be tried.
        Entry twin{{}, key};
        Entry *inserted = model.contains(key) ? &twin : index.entry(key);
        EXPECT_EQ(index.insert(inserted, tx), model.insert(key).second);
    }
    void remove(int key, std::uint32_t tx = KEL_TX_NONE) {
        EXPECT_EQ(index.remove(index.entry(key), tx), model.erase(key) == 1);
    }
    void edit(std::uint64_t inserts_of_ten, std::uint32_t tx = KEL_TX_NONE) {
        const int key = any_key();
        chance.below(10) < inserts_of_ten ? insert(key, tx) : remove(key, tx);
    }
    void fill(int keys) {
        for (int key = 0; key < keys; ++key) insert(key);
    }
    bool root_is_full() const { return static_cast<IndexPage *>(*index.anchor)->is_full(); }
    void expect_all_steps(int key) {
        index.expect_node(index.find(key), model.contains(key) ? key : -1);
        const Entry probe{{}, key};
        index.expect_neighbours(&index.entry(key)->node, model);
        index.expect_neighbours(&probe.node, model);
    }
};

INSTANTIATE_TEST_SUITE_P(Each, KeyIndex, ::testing::Range(std::size_t{0}, all_orders.size()),
                         order_name);

TEST_P(KeyIndex, IsEqualToASetAfterRandomEdits) {
    const std::uint64_t blocks = store.describe().blocks;
    for (int step = 0; step < 30000 && !HasFailure(); ++step) {
        SCOPED_TRACE("step " + std::to_string(step));
        edit(step / 7500 % 2 == 0 ? 8 : 2);
        if (step % 10 == 0) expect_all_steps(any_key());
        if (step % 1500 == 0) index.expect_keys(model);
    }
    EXPECT_EQ(index.has_pages(), known.order != Order::unknown);
    while (!model.empty() && !HasFailure()) remove(*std::next(model.begin(), model.size() / 2));
    EXPECT_EQ(*index.anchor, nullptr);
    EXPECT_EQ(store.describe().blocks, blocks) << "pages were leaked";
}

TEST_P(KeyIndex, HoldsKeysThatCameInOrderOrBackwards) {
    const bool is_known = known.order != Order::unknown;
    for (int key = 0; key < 2000; ++key) {
        insert(key);
        EXPECT_TRUE(key < 31 || index.has_pages() == is_known);
    }
    const std::uint64_t in_order = index.leaves();
    EXPECT_LE(in_order, is_known ? 2000 / IndexPage::capacity + 2 : 0) << "they fill their pages";
    for (int key = most_keys - 1; key > 3000; --key) insert(key);
    index.expect_keys(model);
    for (int key = 0; key < most_keys; key += 7) expect_all_steps(key);
}

TEST_P(KeyIndex, EditsRolledBackLeaveEveryByteAsItWas) {
    for (int round = 0; round < 12 && !HasFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        for (int i = 0; i < 12 << round % 8; ++i) edit(6);
        const std::set<int> kept = model;
        const StoreSnapshot before(store.store);
        const std::uint32_t tx = store.begin();
        for (int i = 0; i < 400; ++i) edit(round % 2 == 0 ? 8 : 2, tx);
        index.expect_keys(model);
        store.roll_back(tx);
        EXPECT_EQ(to_text(before.changes()), "");
        model = kept;
        index.expect_keys(model);
    }
}

TEST_P(KeyIndex, StepsFromANodeWhoseKeyWasChangedFindTheNeighboursOfItsKey) {
    fill(300);
    for (int old_key = 0; old_key < 300; old_key += 7) {
        Entry *entry = index.entry(old_key);
        model.erase(old_key);
        for (int key = -1; key <= 300; key += 3) {
            SCOPED_TRACE(std::to_string(old_key) + " changed to " + std::to_string(key));
            entry->key = key;
            index.expect_neighbours(&entry->node, model);
        }
        entry->key = old_key;
        model.insert(old_key);
    }
}

// The last step's position is that of the node before its key was changed.
TEST_P(KeyIndex, AStepFromTheLastNodeFoundUsesItsPresentKey) {
    constexpr int keys = 300;
    fill(keys);
    const auto expect_key = [&](kel_index_node *node, int key) {
        EXPECT_EQ(node, key < 0 || key >= keys ? nullptr : &index.entry(key)->node);
    };
    for (int old_key = 1; old_key < keys - 1; ++old_key) {
        Entry *entry = index.entry(old_key);
        for (int key : {-1, 0, old_key - 2, old_key - 1, old_key, old_key + 1, old_key + 2, 299}) {
            SCOPED_TRACE(std::to_string(old_key) + " changed to " + std::to_string(key));
            expect_key(index.next(&index.entry(old_key - 1)->node), old_key);
            entry->key = key;
            expect_key(index.next(&entry->node), key + 1 == old_key ? key + 2 : key + 1);
            entry->key = old_key;
            expect_key(index.previous(&index.entry(old_key + 1)->node), old_key);
            entry->key = key;
            expect_key(index.previous(&entry->node), key - 1 == old_key ? key - 2 : key - 1);
            entry->key = old_key;
        }
    }
}

// After the last place in use the leaf has digests of keys that are in the next leaf now.
TEST_P(KeyIndex, AStepFromTheLastNodeOfADividedLeafUsesItsPresentKey) {
    for (int key = 0; key < 580; key += 10) insert(key);
    insert(5);
    Entry *last = index.entry(280);
    const auto step_from_changed = [&](bool forward) {
        index.expect_node(index.find(280), 280);
        last->key = 295;
        kel_index_node *found = forward ? index.next(&last->node) : index.previous(&last->node);
        last->key = 280;
        return found;
    };
    index.expect_node(step_from_changed(true), 300);
    index.expect_node(step_from_changed(false), 290);
}

// The page of the last step is joined with the one before it. It keeps its content until it is
// freed at the commit.
TEST_P(KeyIndex, AStepFromTheLastNodeFoundUsesItsPresentPage) {
    constexpr int keys = 80, first_removed = 1, end_removed = 55;
    for (int key = 65; key < keys - 2 && !HasFailure(); ++key) {
        SCOPED_TRACE(key);
        for (const int old : std::set<int>(model)) remove(old);
        fill(keys);
        index.expect_node(index.next(&index.entry(key - 1)->node), key);
        const std::uint32_t tx = store.begin();
        for (int other = first_removed; other < end_removed; ++other) remove(other, tx);
        remove(key + 1, tx);
        index.expect_neighbours(&index.entry(key)->node, model);
        EXPECT_LE(index.leaves(), 1U);
        store.commit(tx);
    }
}

TEST_P(KeyIndex, AStepInAnotherIndexStartsFromTheKey) {
    fill(300);
    Index other(store, known, 300);
    for (int key = 0; key < 300; key += 2) ASSERT_TRUE(other.insert(other.entry(key)));
    for (int key = 1; key < 299; ++key) {
        index.expect_node(index.next(&index.entry(key - 1)->node), key);
        other.expect_node(other.next(&index.entry(key)->node),
                          key + 2 - key % 2 > 298 ? -1 : key + 2 - key % 2);
    }
}

TEST_P(KeyIndex, ANodeWhoseKeyWasChangedCanBeRemoved) {
    fill(300);
    for (int key = 0; key < 300; key += 3) {
        index.entry(key)->key = 299 - key;
        remove(key);
        index.entry(key)->key = key;
    }
    index.expect_keys(model);
}

TEST_P(KeyIndex, ANodeWhoseKeyWasChangedAfterASearchCanBeRemoved) {
    fill(300);
    for (int key = 0; key < 300; key += 3) {
        index.expect_node(index.find(key), key);
        index.entry(key)->key = 299 - key;
        remove(key);
        index.entry(key)->key = key;
    }
    index.expect_keys(model);
}

// A node that was found last is removed without another search.
TEST_P(KeyIndex, ASearchBeforeARemovalMakesNoDifferenceToThePages) {
    Index other(store, known, most_keys);
    for (int i = 0; i < 1500; ++i) {
        const int key = any_key();
        insert(key);
        other.insert(other.entry(key));
    }
    while (!model.empty() && !HasFailure()) {
        const int key = *std::next(model.begin(), static_cast<int>(chance.below(model.size())));
        if (chance.below(4) != 0) index.expect_node(index.find(key), key);
        remove(key);
        EXPECT_TRUE(other.remove(other.entry(key)));
        EXPECT_EQ(index.counts_of_leaves(), other.counts_of_leaves());
        if (model.size() % 100 == 0) index.expect_keys(model);
    }
    EXPECT_EQ(*index.anchor, nullptr);
}

// A leaf with fewer than 14 entries is joined with another if both have at most 42.
TEST_P(KeyIndex, TheLastOfTwoLeavesIsJoinedWithTheFirstIfTheyHaveSpaceLeft) {
    if (known.order == Order::unknown) return;  // it never has pages
    fill(78);
    ASSERT_EQ(index.counts_of_leaves(), (std::vector<std::uint32_t>{58, 20}));
    for (int key = 0; key < 28; ++key) remove(key);
    for (int key = 77; key > 70; --key) remove(key);
    EXPECT_EQ(index.counts_of_leaves(), (std::vector<std::uint32_t>{30, 13})) << "43 together";
    remove(70);
    EXPECT_EQ(index.counts_of_leaves(), std::vector<std::uint32_t>{42});
    index.expect_keys(model);
}

TEST_P(KeyIndex, ALeafIsJoinedWithTheOneBeforeItIfTheOneAfterItIsFull) {
    if (known.order == Order::unknown) return;
    fill(3 * 58);
    for (int key = 0; key < 38; ++key) remove(key);
    for (int key = 58; key < 58 + 45; ++key) remove(key);
    EXPECT_EQ(index.counts_of_leaves(), (std::vector<std::uint32_t>{33, 58}));
    index.expect_keys(model);
}

TEST_P(KeyIndex, ANodeFoundBeforeARollbackIsRemovedFromItsPresentPlace) {
    fill(300);
    for (int key = 1; key < 300; key += 2) remove(key);
    for (int key = 10; key < 290 && !HasFailure(); key += 2) {
        const std::uint32_t tx = store.begin();
        for (int other = 1; other < 60; other += 2) insert(other, tx);
        index.expect_node(index.find(key), key);
        store.roll_back(tx);
        for (int other = 1; other < 60; other += 2) model.erase(other);
        remove(key);
        index.expect_keys(model);
        insert(key);
    }
}

TEST_P(KeyIndex, ANodeIsFoundInOneIndexAndRemovedFromNoOther) {
    fill(300);
    Index other(store, known, 300);
    for (int key = 0; key < 300; ++key) ASSERT_TRUE(other.insert(other.entry(key)));
    for (int key = 0; key < 300; key += 7) {
        index.expect_node(index.find(key), key);
        EXPECT_FALSE(other.remove(index.entry(key)));
    }
    index.expect_keys(model);
    other.expect_keys(model);
}

TEST_P(KeyIndex, RemovesTheVeryNodeAndNoEqualOne) {
    fill(300);
    for (int key = 0; key < 300; key += 50) {
        Entry twin{{}, key};
        EXPECT_FALSE(index.remove(&twin));
        Entry copy = *index.entry(key);
        EXPECT_FALSE(index.remove(&copy));
    }
    Index other(store, known, 100);
    for (Entry *entry : other.entries) ASSERT_TRUE(other.insert(entry));
    EXPECT_FALSE(index.remove(other.entry(1)));
    index.expect_keys(model);
}

TEST_P(KeyIndex, AnInsertionOfAnEqualNodeChangesNothing) {
    fill(300);
    Entry twin{{{1, 2, 3, 4}}, 7};
    const StoreSnapshot before(store.store);
    EXPECT_FALSE(index.insert(&twin));
    EXPECT_EQ(twin.node.opaque[0], 1U);
    EXPECT_EQ(to_text(before.changes()), "");
}

// What a visit does besides noting the key.
struct Visits {
    Index &index;
    std::vector<int> seen;
    std::vector<int> inserted;  // while the node is visited that is the
    std::size_t insert_at = 1;  // so many-th
    int delete_each = 0;
    std::uint32_t roll_back_at = 0;
    SmallStore *store = nullptr;
    std::uint32_t tx = KEL_TX_NONE;
};

std::uint32_t visit(kel_index_node *node, void *context) {
    auto &visits = *static_cast<Visits *>(context);
    const int key = key_of(node);
    visits.seen.push_back(key);
    if (visits.seen.size() == visits.insert_at) {
        for (int inserted : visits.inserted) {
            EXPECT_TRUE(visits.index.insert(visits.index.entry(inserted)));
        }
    }
    if (visits.delete_each != 0 && key % visits.delete_each == 0) {
        EXPECT_TRUE(visits.index.remove(entry_of(node)));
        std::memset(node, 0xff, sizeof *node);
    }
    if (visits.store != nullptr && visits.seen.size() == visits.roll_back_at) {
        visits.store->roll_back(visits.tx);
    }
    return 0;
}

TEST_P(KeyIndex, AWalkMayRemoveTheNodesItVisits) {
    fill(1000);
    for (const int each : {7, 2, 1}) {
        const std::vector<int> wanted(model.begin(), model.end());
        Visits visits{index, {}, {}, 1, each};
        EXPECT_EQ(e_avl_walk(*index.anchor, visit, &visits), 0U);
        EXPECT_EQ(visits.seen, wanted);
        std::erase_if(model, [each](int key) { return key % each == 0; });
        index.expect_keys(model);
    }
}

// Insertions split the page of the walk, and make pages of a tree.
TEST_P(KeyIndex, AWalkGoesOnAfterInsertionsInAVisit) {
    for (const int present : {3, 40, 400}) {
        SCOPED_TRACE(std::to_string(present) + " nodes");
        for (const int key : std::set<int>(model)) remove(key);
        for (int i = 0; i < present; ++i) insert(1000 + i);
        const std::vector<int> wanted(model.begin(), model.end());
        Visits visits{index, {}, {}};
        // All before the second node: none of them is visited.
        for (int key = 0; key < 900; ++key) {
            visits.inserted.push_back(key);
            model.insert(key);
        }
        EXPECT_EQ(e_avl_walk(*index.anchor, visit, &visits), 0U);
        EXPECT_EQ(visits.seen, wanted);
        index.expect_keys(model);
    }
}

TEST_P(KeyIndex, AWalkGoesOnAfterItsPageWasSplitAtAnyNode) {
    for (std::size_t at = 1; at <= IndexPage::capacity && !HasFailure(); ++at) {
        SCOPED_TRACE(at);
        for (const int key : std::set<int>(model)) remove(key);
        for (int i = 0; i < static_cast<int>(IndexPage::capacity); ++i) insert(1000 + i);
        Visits visits{index, {}, {0}, at};
        const std::vector<int> wanted(model.begin(), model.end());
        EXPECT_EQ(e_avl_walk(*index.anchor, visit, &visits), 0U);
        EXPECT_EQ(visits.seen, wanted);
        model.insert(0);
        EXPECT_EQ(index.leaves(), index.has_pages() ? 2U : 0U);
    }
}

// The pages of the walk are a tree again, or other pages.
TEST_P(KeyIndex, AWalkGoesOnAfterARollbackInAVisit) {
    for (const int present : {10, 20, 300}) {
        SCOPED_TRACE(std::to_string(present) + " nodes");
        fill(present);
        Visits visits{index, {}, {}};
        visits.store = &store;
        visits.roll_back_at = 5;
        visits.tx = store.begin();
        for (int key = 1000; key < 1100; ++key) {
            EXPECT_TRUE(index.insert(index.entry(key), visits.tx));
        }
        EXPECT_EQ(e_avl_walk(*index.anchor, visit, &visits), 0U);
        EXPECT_EQ(visits.seen, std::vector<int>(model.begin(), model.end()));
    }
}

TEST_P(KeyIndex, AnInsertionWithoutMemoryForPagesMakesATree) {
    fill(1000);
    while (store.handle->alloc_hook(store.handle->arena, KEL_TX_NONE, sizeof(IndexPage)) !=
           nullptr) {
    }
    for (int key = 1000; key < 2000; ++key) insert(key);
    EXPECT_FALSE(index.has_pages());
    index.expect_keys(model);
    for (int key = 0; key < 2000; key += 3) expect_all_steps(key);
}

// A page for the leaf, but none for the root above it.
TEST_P(KeyIndex, AnInsertionWithMemoryForTooFewPagesKeepsNone) {
    int key = 0;
    while (key < 1000 && !(index.has_pages() && root_is_full())) insert(key++);
    const std::uint64_t blocks = store.describe().blocks - (index.has_pages() ? 1 : 0);
    kel_store_fail_allocation(store.store, 2);
    insert(key++);
    kel_store_fail_allocation(store.store, 0);
    EXPECT_FALSE(index.has_pages());
    EXPECT_EQ(store.describe().blocks, blocks);
    index.expect_keys(model);
}

TEST_P(KeyIndex, ATreeOfTwoPagesGetsARootAboveThem) {
    const Compare own = index.compare;
    index.compare = compare<Order::unknown>;
    fill(63);
    index.compare = own;
    insert(63);
    EXPECT_EQ(index.leaves(), index.has_pages() ? 2U : 0U);
    index.expect_keys(model);
}

// A tree as it is left by a comparison of which only the result is known.
TEST_P(KeyIndex, ALargeTreeBecomesPagesWithSpaceWhenItsHeightGrows) {
    if (known.order == Order::unknown) return;  // it never has pages
    constexpr int before = 4095, page = IndexPage::capacity / 4 * 3;
    const Compare own = index.compare;
    index.compare = compare<Order::unknown>;
    fill(before);
    index.compare = own;
    const std::uint64_t blocks = store.describe().blocks;
    const auto insert_with_memory_for = [&](std::uint64_t pages) {
        kel_store_fail_allocation(store.store, pages + 1);
        const StoreSnapshot snapshot(store.store);
        const std::uint32_t tx = store.begin();
        insert(before, tx);
        const bool made = index.has_pages();
        index.expect_keys(model);
        store.roll_back(tx);
        model.erase(before);
        kel_store_fail_allocation(store.store, 0);
        EXPECT_EQ(to_text(snapshot.changes()), "");
        return made;
    };
    // Leaves, the pages above them, the root.
    const std::uint64_t leaves = before / page + 1, needed = leaves + 3 + 1;
    for (const std::uint64_t pages : {std::uint64_t{0}, leaves, needed - 1}) {
        EXPECT_FALSE(insert_with_memory_for(pages)) << pages;
    }
    EXPECT_TRUE(insert_with_memory_for(needed));
    insert(before);
    ASSERT_TRUE(index.has_pages());
    EXPECT_EQ(index.leaves(), leaves);
    EXPECT_EQ(store.describe().blocks, blocks + needed);
    index.expect_keys(model);
    for (int key = 0; key <= before; key += 13) expect_all_steps(key);
}

TEST_P(KeyIndex, AnEditByAnUnknownComparisonMakesATree) {
    const Compare own = index.compare;
    for (const bool inserts : {true, false}) {
        fill(1000);
        index.compare = compare<Order::unknown>;
        for (int key = 0; key < 1000; key += 9) expect_all_steps(key);
        index.expect_node(index.find(999), 999);
        inserts ? insert(1000) : remove(999);
        EXPECT_FALSE(index.has_pages());
        index.expect_keys(model);
        index.compare = own;
        for (const int key : std::set<int>(model)) remove(key);
    }
}

// What digests save if they contain the whole key.
class KeyIndexCosts : public SmallStoreTest {
 protected:
    static constexpr int keys = 2000;

    void SetUp() override {
        for (int i = 0; i < keys; ++i) ASSERT_TRUE(index.insert(index.entry(i * 7 % keys * 2)));
        for (const Entry *entry : index.entries) wanted += entry->key % 2 == 0 ? 1 : 0;
        leaves = index.leaves();
    }
    template <typename Call>
    static std::uint64_t comparisons_of(Call call) {
        comparisons = 0;
        call();
        return comparisons;
    }

    Index index{store, all_orders[1], 2 * keys};
    int wanted = 0;
    std::uint64_t leaves = 0;
};

TEST_F(KeyIndexCosts, ASearchComparesWithTheRecordItFindsAlone) {
    for (int key = 0; key < 2 * keys; ++key) {
        // One of the first records of a leaf is also compared on the way down.
        const std::uint64_t most = key % 2 != 0 ? 0 : 2;
        EXPECT_LE(comparisons_of([&] { index.find(key); }), most) << key;
    }
    const std::uint64_t all = comparisons_of([&] {
        for (int key = 0; key < 2 * keys; key += 2) index.find(key);
    });
    EXPECT_LE(all, keys + leaves);
}

TEST_F(KeyIndexCosts, ANodeThatASearchFoundIsRemovedWithoutAnother) {
    for (int key = 0; key < 2 * keys; key += 20) {
        ASSERT_NE(index.find(key), nullptr);
        EXPECT_EQ(comparisons_of([&] { EXPECT_TRUE(index.remove(index.entry(key))); }), 0U) << key;
    }
}

TEST_F(KeyIndexCosts, AStepFromANodeThatASearchFoundComparesAtTheEndsOfLeavesAlone) {
    const std::uint64_t searches = comparisons_of([&] {
        for (int key = 0; key < 2 * keys; key += 2) index.find(key);
    });
    const std::uint64_t all = comparisons_of([&] {
        for (int key = 0; key < 2 * keys; key += 2) {
            index.find(key);
            index.next(&index.entry(key)->node);
        }
    });
    EXPECT_LE(all - searches, 4 * leaves + 2);
}

// Pages of keys that begin alike have longer prefixes after they were split. The root has keys of
// all groups.
TEST_F(KeyIndexCosts, ASearchComparesSeldomMoreIfKeysBeginAlike) {
    for (const auto &[known, most] : {std::pair{all_orders[3], 2U}, std::pair{all_orders[4], 5U}}) {
        Index alike(store, known, keys);
        for (int i = 0; i < keys; ++i) ASSERT_TRUE(alike.insert(alike.entry(i * 7 % keys)));
        const std::uint64_t all = comparisons_of([&] {
            for (int key = 0; key < keys; ++key) alike.find(key);
        });
        EXPECT_LE(all, std::uint64_t{most} * keys) << known.name;
    }
}

TEST_F(KeyIndexCosts, AScanComparesAtTheEndsOfLeavesAlone) {
    for (const bool forward : {true, false}) {
        int seen = 1;
        kel_index_node *node =
            forward ? e_avl_get_first(*index.anchor) : e_avl_get_last(*index.anchor);
        const std::uint64_t all = comparisons_of([&] {
            while ((node = forward ? index.next(node) : index.previous(node)) != nullptr) ++seen;
        });
        EXPECT_EQ(seen, wanted);
        // With both neighbours of the first and of the last node.
        EXPECT_LE(all, 4 * leaves + 2);
    }
}

// Bytes that were announced to the log.
std::uint64_t announced = 0;

// Of each change that splits or joins no leaf: the node, a digest, an entry, the order of the
// places and their count.
TEST_F(KeyIndexCosts, AnEditChangesFewBytesOfALeaf) {
    store.handle->write_log_hook = [](void *, void *, std::uint64_t length, std::uint32_t) {
        announced += length;
    };
    constexpr std::uint64_t most = sizeof(kel_index_node) + sizeof(std::uint64_t) +
                                   sizeof(tarnbase::runtime::PageEntry) + IndexPage::capacity +
                                   sizeof(std::uint16_t);
    const auto edit = [&](bool inserts, int key) {
        announced = 0;
        const std::uint64_t before = index.leaves();
        EXPECT_TRUE(inserts ? index.insert(index.entry(key)) : index.remove(index.entry(key)));
        if (index.leaves() != before) return;
        EXPECT_GT(announced, 0U);
        EXPECT_LE(announced, most) << key;
    };
    for (int key = 1; key < 2 * keys; key += 20) edit(true, key);
    for (int key = 0; key < 2 * keys; key += 20) edit(false, key);
}

TEST_F(KeyIndexCosts, AnIndexIsATreeUntilItHasFiveLevels) {
    Index small(store, all_orders[1], 40);
    int key = 0;
    while (!small.has_pages() && key < 40) ASSERT_TRUE(small.insert(small.entry(key++)));
    EXPECT_EQ(key, 16);  // keys in order fill a level before they begin the next
}

}  // namespace
}  // namespace tarn::test
