// SPDX-License-Identifier: Apache-2.0
// How often the key index compares, and how many bytes it changes.
#include <utility>

#include "tests/unit/runtime_store/number_index.h"

namespace tarn::test {
namespace {

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
