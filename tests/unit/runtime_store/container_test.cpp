// SPDX-License-Identifier: Apache-2.0
// The containers of runtime/index/ without a store: over an allocator and a log of the test.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <set>
#include <utility>
#include <vector>

#include "runtime/index/address_map.h"
#include "runtime/index/tree.h"
#include "tests/unit/runtime_store/support.h"

namespace tarn::test {
namespace {

using namespace tarnbase::runtime;

class HeapAllocator : public BlockAllocator {
 public:
    void *allocate(std::uint32_t, std::uint64_t size) override {
        return *blocks.insert(std::calloc(1, size)).first;
    }
    void release(std::uint32_t, void *block) override {
        ASSERT_EQ(blocks.erase(block), 1U);
        std::free(block);
    }

    std::set<void *> blocks;
};

// Keeps the bytes of each announced store, and can restore them.
class Undo {
 public:
    WriteLog log() { return {&handle_, KEL_TX_NONE}; }

    void roll_back() {
        for (; !entries_.empty(); entries_.pop_back()) {
            const auto &[address, bytes] = entries_.back();
            std::memcpy(address, bytes.data(), bytes.size());
        }
    }

 private:
    struct Entry {
        void *address;
        std::vector<char> bytes;
    };

    static void note(void *arena, void *address, std::uint64_t length, std::uint32_t) {
        const char *bytes = static_cast<const char *>(address);
        static_cast<Undo *>(arena)->entries_.push_back({address, {bytes, bytes + length}});
    }

    static kel_handle handle_with(Undo *undo) {
        kel_handle handle{};
        handle.arena = undo;
        handle.write_log_hook = note;
        return handle;
    }

    std::vector<Entry> entries_;
    kel_handle handle_ = handle_with(this);
};

TEST(Containers, AMapAllocatesAndFreesItsBucketsAlone) {
    HeapAllocator allocator;
    Undo undo;
    MapRoot root{};
    AddressMap map(root, allocator);
    std::vector<MapNode> nodes(100);
    for (std::uint64_t i = 0; i < nodes.size(); ++i)
        ASSERT_TRUE(map.insert(undo.log(), i, &nodes[i]));
    EXPECT_EQ(allocator.blocks.size(), 1U);
    for (std::uint64_t i = 0; i < nodes.size(); ++i)
        ASSERT_EQ(map.remove(undo.log(), i), &nodes[i]);
    EXPECT_TRUE(allocator.blocks.empty());
}

// Counts announced stores.
class Announced {
 public:
    WriteLog log() { return {&handle_, KEL_TX_NONE}; }
    // Since the last call.
    int take() { return std::exchange(count_, 0); }

 private:
    static void count(void *arena, void *, std::uint64_t, std::uint32_t) {
        ++*static_cast<int *>(arena);
    }
    static kel_handle handle_with(int *count) {
        kel_handle handle{};
        handle.arena = count;
        handle.write_log_hook = Announced::count;
        return handle;
    }

    int count_ = 0;
    kel_handle handle_ = handle_with(&count_);
};

// With three levels of blocks.
TEST(Containers, NoInsertionIntoALargeMapMovesManyEntries) {
    constexpr std::size_t entries = map_block_places * map_block_places + 3000;
    HeapAllocator allocator;
    Announced announced;
    MapRoot root{};
    AddressMap map(root, allocator);
    std::vector<MapNode> nodes(entries);
    const auto key = [](std::size_t i) { return 0x2000'0000'0000 + 48 * i; };
    int most = 0;
    std::uint64_t all = 0;
    std::size_t most_blocks = 0;
    for (std::size_t i = 0; i < entries; ++i) {
        const std::size_t blocks = allocator.blocks.size();
        ASSERT_TRUE(map.insert(announced.log(), key(i), &nodes[i]));
        const int count = announced.take();
        most = std::max(most, count);
        all += static_cast<std::uint64_t>(count);
        most_blocks = std::max(most_blocks, allocator.blocks.size() - blocks);
    }
    EXPECT_LE(most, 30);
    EXPECT_LE(all, 6 * entries);
    EXPECT_LE(most_blocks, 3U);
    EXPECT_EQ(root.bucket_count, entries);
    for (std::size_t i = 0; i < entries; ++i) ASSERT_EQ(map.find(key(i)), &nodes[i]);
    for (std::size_t i = 0; i < entries; ++i) {
        ASSERT_EQ(map.remove(announced.log(), key(i)), &nodes[i]);
    }
    EXPECT_TRUE(allocator.blocks.empty());
    EXPECT_EQ(root.top, nullptr);
}

TEST(Containers, EveryStoreOfAMapIsAnnounced) {
    HeapAllocator allocator;
    Undo undo;
    MapRoot root{};
    AddressMap map(root, allocator);
    std::vector<MapNode> nodes(16);
    for (std::uint64_t i = 0; i < 8; ++i) ASSERT_TRUE(map.insert(undo.log(), i, &nodes[i]));
    const MapRoot before = root;
    Undo later;
    for (std::uint64_t i = 8; i < 16; ++i) ASSERT_TRUE(map.insert(later.log(), i, &nodes[i]));
    for (std::uint64_t i = 0; i < 8; ++i) map.remove(later.log(), i);
    later.roll_back();
    EXPECT_EQ(std::memcmp(&root, &before, sizeof root), 0);
    for (std::uint64_t i = 0; i < 16; ++i) EXPECT_EQ(map.find(i), i < 8 ? &nodes[i] : nullptr);
    std::free(root.top);
}

struct Entry {
    kel_index_node node;
    int key;
};

std::uint32_t compare(const kel_index_node *a, const kel_index_node *b) {
    return order_of(reinterpret_cast<const Entry *>(a)->key,
                    reinterpret_cast<const Entry *>(b)->key);
}

TEST(Containers, EveryStoreOfATreeIsAnnounced) {
    void *anchor = nullptr;
    std::vector<Entry> entries(200);
    Undo undo;
    for (int i = 0; i < 200; ++i) entries[static_cast<std::size_t>(i)].key = i * 37 % 200;
    for (std::size_t i = 0; i < 100; ++i) {
        ASSERT_TRUE(tree_insert(undo.log(), &anchor, &entries[i].node, compare));
    }
    const void *const root_before = anchor;
    const std::vector<Entry> before(entries);
    Undo later;
    for (std::size_t i = 0; i < 200; ++i) {
        if (i < 50) {
            ASSERT_TRUE(tree_remove(later.log(), &anchor, &entries[i].node));
        } else if (i >= 100) {
            ASSERT_TRUE(tree_insert(later.log(), &anchor, &entries[i].node, compare));
        }
    }
    EXPECT_EQ(tree_size(anchor), 150U);
    later.roll_back();
    EXPECT_EQ(anchor, root_before);
    EXPECT_EQ(std::memcmp(entries.data(), before.data(), entries.size() * sizeof(Entry)), 0);
}

TEST(Containers, ATreeWithoutAHandleAnnouncesNothing) {
    void *anchor = nullptr;
    Entry entry{{}, 1};
    ASSERT_TRUE(tree_insert({nullptr, KEL_TX_NONE}, &anchor, &entry.node, compare));
    EXPECT_EQ(tree_first(anchor), &entry.node);
    ASSERT_TRUE(tree_remove({nullptr, KEL_TX_NONE}, &anchor, &entry.node));
    EXPECT_EQ(anchor, nullptr);
}

}  // namespace
}  // namespace tarn::test
