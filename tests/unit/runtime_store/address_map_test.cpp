// SPDX-License-Identifier: Apache-2.0
// The map in the store against std::map.
#include "runtime/index/address_map.h"

#include <algorithm>
#include <map>

#include "runtime/arena/size_class.h"
#include "runtime/store/store.h"
#include "tests/unit/runtime_store/support.h"

namespace tarn::test {
namespace {

using tarnbase::runtime::AddressMap;
using tarnbase::runtime::bucket_of;
using tarnbase::runtime::MapNode;
using tarnbase::runtime::MapRoot;
using tarnbase::runtime::page_size;
using tarnbase::runtime::SizeClass;

class MapTest : public SmallStoreTest {
 protected:
    MapNode *make(std::uint32_t tx = KEL_TX_NONE) {
        return static_cast<MapNode *>(store.allocate(sizeof(MapNode), tx));
    }

    MapRoot *root = static_cast<MapRoot *>(store.allocate(sizeof(MapRoot)));
    AddressMap map{*root, *store.store};
};

class RandomMap : public MapTest, public ::testing::WithParamInterface<std::uint32_t> {
 protected:
    // Keys like those of blocks: multiples of 16, near each other, and some far apart.
    std::uint64_t any_key() {
        const std::uint64_t near = 0x2000'0000'0000 + 16 * chance.below(150);
        return chance.below(10) == 0 ? near << 16 : near;
    }

    void anything(std::uint32_t tx) {
        const std::uint64_t key = any_key();
        const bool known = model.contains(key);
        switch (chance.below(4)) {
            case 0:
                ASSERT_EQ(map.remove({store.handle, tx}, key), known ? model[key] : nullptr);
                if (known) store.release(model[key], tx);
                model.erase(key);
                return;
            case 1:
                return replace(tx, key, known);
            default:
                if (known) return;
                ASSERT_TRUE(map.insert({store.handle, tx}, key, model[key] = make(tx)));
        }
    }

    void replace(std::uint32_t tx, std::uint64_t key, bool known) {
        MapNode *node = make(tx);
        MapNode *old = map.replace({store.handle, tx}, key, node);
        ASSERT_EQ(old, known ? model[key] : nullptr);
        store.release(known ? old : node, tx);
        if (known) model[key] = node;
    }

    void expect_model() {
        ASSERT_EQ(root->entries, model.size());
        for (const auto &[key, node] : model) ASSERT_EQ(map.find(key), node);
        for (int i = 0; i < 20; ++i) {
            const std::uint64_t key = any_key();
            ASSERT_EQ(map.find(key), model.contains(key) ? model[key] : nullptr);
        }
    }

    Chance chance{GetParam()};
    std::map<std::uint64_t, MapNode *> model;
};

INSTANTIATE_TEST_SUITE_P(Map, RandomMap, ::testing::Values(91U, 92U, 93U));

TEST_P(RandomMap, FindsAsAMapDoesAndLeavesNoTraceWhenEmptied) {
    const StoreSnapshot fresh(store.store);
    for (int step = 0; step < 2000 && !HasFailure(); ++step) {
        SCOPED_TRACE(seed_and_step(GetParam(), step));
        anything(KEL_TX_NONE);
        expect_model();
    }
    for (const auto &[key, node] : model)
        store.release(map.remove({store.handle, KEL_TX_NONE}, key));
    EXPECT_EQ(to_text(fresh.changes()), "");
}

TEST_P(RandomMap, EditsRolledBackLeaveEveryByteAsItWas) {
    for (int round = 0; round < 20 && !HasFailure(); ++round) {
        SCOPED_TRACE(seed_and_step(GetParam(), round));
        for (int i = 0; i < 15; ++i) anything(KEL_TX_NONE);
        const auto kept = model;
        const StoreSnapshot before(store.store);
        const std::uint32_t tx = store.begin();
        for (int i = 0; i < 200; ++i) anything(tx);
        expect_model();
        store.roll_back(tx);
        EXPECT_EQ(to_text(before.changes()), "");
        model = kept;
        expect_model();
    }
}

TEST_F(MapTest, TheFirstInsertWithoutMemoryChangesNothing) {
    MapNode *node = make();
    const StoreSnapshot before(store.store);
    kel_store_fail_allocation(store.store, 1);
    EXPECT_FALSE(map.insert({store.handle, KEL_TX_NONE}, 16, node));
    EXPECT_EQ(map.find(16), nullptr);
    EXPECT_EQ(to_text(before.changes()), "");
}

TEST_F(MapTest, ALaterInsertGoesWellWithoutMemoryForMoreBuckets) {
    constexpr std::uint64_t entries = 100;
    std::vector<MapNode *> nodes;
    for (std::uint64_t i = 0; i < entries; ++i) nodes.push_back(make());
    ASSERT_TRUE(map.insert({store.handle, KEL_TX_NONE}, 0, nodes[0]));
    const std::uint64_t buckets = root->bucket_count;
    for (std::uint64_t i = 1; i < entries; ++i) {
        kel_store_fail_allocation(store.store, 1);
        ASSERT_TRUE(map.insert({store.handle, KEL_TX_NONE}, i, nodes[i]));
    }
    EXPECT_EQ(root->bucket_count, buckets);
    for (std::uint64_t i = 0; i < entries; ++i) EXPECT_EQ(map.find(i), nodes[i]);
}

TEST_F(MapTest, HasAsManyBucketsAsEntries) {
    for (std::uint64_t key = 0; key < 3000; ++key) {
        ASSERT_TRUE(map.insert({store.handle, KEL_TX_NONE}, key, make()));
        ASSERT_EQ(root->bucket_count, std::max<std::uint64_t>(16, root->entries));
    }
}

TEST_F(MapTest, CatchesUpWithBucketsThatThereWasNoMemoryFor) {
    for (std::uint64_t key = 0; key < 400; ++key) {
        MapNode *node = make();
        if (key > 0 && key < 200) kel_store_fail_allocation(store.store, 1);
        ASSERT_TRUE(map.insert({store.handle, KEL_TX_NONE}, key, node));
        kel_store_fail_allocation(store.store, 0);
    }
    EXPECT_EQ(root->bucket_count, 400U);
    for (std::uint64_t key = 0; key < 400; ++key) ASSERT_NE(map.find(key), nullptr);
}

TEST_F(MapTest, AnInsertionWithoutMemoryForMoreBlocksGoesWellAndIsRolledBack) {
    std::uint64_t key = 0;
    for (const std::uint64_t full : {16U, 128U, 1024U, 2048U}) {
        for (; key < full; ++key) {
            ASSERT_TRUE(map.insert({store.handle, KEL_TX_NONE}, key, make()));
        }
        // From 1024 buckets on there are two blocks.
        for (const std::uint64_t n : {1U, full == 1024 ? 2U : 1U}) {
            MapNode *node = make();
            const StoreSnapshot before(store.store);
            const std::uint32_t tx = store.begin();
            kel_store_fail_allocation(store.store, n);
            ASSERT_TRUE(map.insert({store.handle, tx}, key, node));
            EXPECT_EQ(root->bucket_count, full);
            for (std::uint64_t i = 0; i <= key; ++i) ASSERT_NE(map.find(i), nullptr);
            store.roll_back(tx);
            node->key = 0;
            node->next = nullptr;
            EXPECT_EQ(to_text(before.changes()), "");
            store.release(node);
        }
    }
}

TEST_F(MapTest, GrowthThatIsRolledBackLeavesEveryByteAsItWas) {
    std::uint64_t key = 0;
    for (const std::uint64_t end : {10U, 100U, 1000U, 2000U}) {
        for (; key < end; ++key) {
            ASSERT_TRUE(map.insert({store.handle, KEL_TX_NONE}, key, make()));
        }
        const StoreSnapshot before(store.store);
        const std::uint32_t tx = store.begin();
        for (std::uint64_t i = key; i < key + 1500; ++i) {
            ASSERT_TRUE(map.insert({store.handle, tx}, i, make(tx)));
        }
        for (std::uint64_t i = 0; i < key + 1500; ++i) ASSERT_NE(map.find(i), nullptr);
        store.roll_back(tx);
        EXPECT_EQ(to_text(before.changes()), "");
        for (std::uint64_t i = 0; i < key; ++i) ASSERT_NE(map.find(i), nullptr);
    }
}

// Addresses in blocks of a class that fill pages, of which every third has that class.
std::vector<std::uint64_t> addresses(const SizeClass &shape, std::size_t count) {
    std::vector<std::uint64_t> made;
    for (std::uint64_t base = 0x2000'0000'0000; made.size() < count; base += 3 * page_size) {
        for (std::uint64_t slot = 0; slot < shape.slots && made.size() < count; ++slot) {
            made.push_back(base + shape.first + slot * shape.size + 24);
        }
    }
    return made;
}

static_assert(tarnbase::runtime::map_page_bytes == page_size);

// Another assignment takes another format version of stores.
TEST(Buckets, OfAKeyAreThoseOfTheFormat) {
    EXPECT_EQ(bucket_of(0x2000'0000'0018, 1 << 20), 323962U);
    EXPECT_EQ(bucket_of(0x2000'1234'5670, 1 << 20), 317499U);
    EXPECT_EQ(bucket_of(0x2000'1234'5670, 300'000), 55355U);
    EXPECT_EQ(bucket_of(77, 1000), 275U);
}

TEST(Buckets, HaveFewEntriesEachWhateverTheSizeOfTheBlocks) {
    for (const SizeClass &shape : tarnbase::runtime::size_classes) {
        for (const std::size_t count :
             {std::size_t{shape.slots}, std::size_t{1000}, std::size_t{20000}}) {
            std::map<std::uint64_t, unsigned> fill;
            for (const std::uint64_t key : addresses(shape, count)) {
                const unsigned entries = ++fill[bucket_of(key, std::max<std::size_t>(count, 16))];
                ASSERT_LE(entries, 12U) << count << " blocks of " << shape.size;
            }
        }
    }
}

TEST(Buckets, OfConsecutiveBlocksAreNearEachOther) {
    constexpr std::uint64_t buckets = 1 << 20;
    for (std::uint32_t index = 0; index < tarnbase::runtime::small_class_count; ++index) {
        const SizeClass &shape = tarnbase::runtime::size_classes[index];
        const std::vector<std::uint64_t> keys = addresses(shape, shape.slots);
        for (std::size_t i = 2; i < keys.size(); ++i) {
            const std::uint64_t step =
                bucket_of(keys[i], buckets) - bucket_of(keys[i - 2], buckets);
            ASSERT_LE(step % buckets, 16U) << "block " << i << " of " << shape.size;
        }
    }
}

}  // namespace
}  // namespace tarn::test
