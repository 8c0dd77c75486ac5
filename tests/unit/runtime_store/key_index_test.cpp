// SPDX-License-Identifier: Apache-2.0
// The key index against std::set, as a tree and as pages.
#include <algorithm>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/unit/runtime_store/number_index.h"

namespace tarn::test {
namespace {

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

}  // namespace
}  // namespace tarn::test
