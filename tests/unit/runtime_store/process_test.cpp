// SPDX-License-Identifier: Apache-2.0
// A store file in two processes at once, and after one that was killed.
#include <unistd.h>

#include <fstream>

#include "runtime/store/header.h"
#include "tests/unit/runtime_store/peer.h"
#include "tests/unit/runtime_store/store_file.h"

namespace tarn::test {
namespace {

using tarnbase::runtime::ArenaState;
using tarnbase::runtime::StoreHeader;

using StoreProcess = StoreFileTest;

int read_what_the_other_wrote(Peer &test, const char *path) {
    TARN_PEER_EXPECT(test.await());
    const OpenStore store(path);
    TARN_PEER_EXPECT(store.error == 0);
    std::uint64_t *number = store.find("number");
    // The pointer in the block is valid here: the store has the same address.
    TARN_PEER_EXPECT(number != nullptr);
    TARN_PEER_EXPECT(number[0] == reinterpret_cast<std::uintptr_t>(number));
    TARN_PEER_EXPECT(number[1] == 4711);
    number[1] = 4712;
    *store.make("answer") = 42;
    return 0;
}

TEST_F(StoreProcess, a_second_process_maps_the_store_at_the_same_address) {
    Peer peer(read_what_the_other_wrote, path.c_str());
    const OpenStore store(path.c_str());
    std::uint64_t *number = store.make("number", 16);
    number[0] = reinterpret_cast<std::uintptr_t>(number);
    number[1] = 4711;
    ASSERT_TRUE(peer.tell());
    EXPECT_EQ(peer.join(), 0);
    EXPECT_EQ(number[1], 4712U);
    ASSERT_NE(store.find("answer"), nullptr);
    EXPECT_EQ(*store.find("answer"), 42U);
}

constexpr std::uint64_t big_block = 5ULL << 20;

int grow_in_turns(Peer &test, const char *path) {
    TARN_PEER_EXPECT(test.await());
    const OpenStore store(path);
    TARN_PEER_EXPECT(store.error == 0);
    TARN_PEER_EXPECT(test.tell() && test.await());
    const std::uint64_t *first = store.find("first");
    TARN_PEER_EXPECT(first[big_block / 8 - 1] == 1);
    std::uint64_t *second = store.make("second", 2 * big_block);
    TARN_PEER_EXPECT(second != nullptr);
    second[2 * big_block / 8 - 1] = 2;
    return 0;
}

TEST_F(StoreProcess, growth_by_one_process_is_seen_by_the_other) {
    Peer peer(grow_in_turns, path.c_str());
    const OpenStore store(path.c_str());
    const std::uint64_t size = store.describe().size;
    ASSERT_LT(size, big_block);
    ASSERT_TRUE(peer.tell() && peer.await());
    store.make("first", big_block)[big_block / 8 - 1] = 1;
    const std::uint64_t grown = store.describe().size;
    EXPECT_GT(grown, size + big_block / 2);
    ASSERT_TRUE(peer.tell());
    EXPECT_EQ(peer.join(), 0);
    EXPECT_GT(store.describe().size, grown);
    EXPECT_EQ(store.find("second")[2 * big_block / 8 - 1], 2U);
    EXPECT_EQ(store.describe().size, std::filesystem::file_size(path));
}

// Changes everywhere in the store, in a transaction that never ends.
int stop_in_a_transaction(Peer &test, const char *path) {
    TARN_PEER_EXPECT(test.await());
    const OpenStore store(path);
    TARN_PEER_EXPECT(store.error == 0);
    std::uint64_t outside = 0;
    std::uint32_t tx = 0;
    TARN_PEER_EXPECT(kel_transaction_begin(store.handle, &tx) == 0);
    kel_handle *handle = store.handle;
    std::uint64_t *number = store.find("number");
    for (std::uint64_t i = 1; i <= 3000; ++i) {
        TARN_PEER_EXPECT(handle->alloc_hook(store.handle->arena, tx, i * 7 % 3000) != nullptr);
        store.set(tx, number + 1, i);
        handle->delta_log_hook(store.handle->arena, number, 3, tx);
        *number += 3;
    }
    handle->delta_log_hook(store.handle->arena, &outside, 1, tx);
    handle->free_hook(store.handle->arena, tx, number);
    TARN_PEER_EXPECT(handle->alloc_hook(store.handle->arena, tx, 3 << 20) != nullptr);
    TARN_PEER_EXPECT(test.tell());
    for (;;) ::pause();
}

// The bytes of a file, without the header's words that transactions and growth change.
std::string settled_bytes(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    std::string bytes(std::filesystem::file_size(path), '\0');
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    const auto blank = [&](std::size_t offset, std::size_t length) {
        bytes.replace(offset, length, length, '\0');
    };
    blank(offsetof(StoreHeader, arena) + offsetof(ArenaState, size), 8);
    blank(offsetof(StoreHeader, committed), 8);
    blank(offsetof(StoreHeader, rolled_back), 8);
    blank(offsetof(StoreHeader, begun), 4);
    return bytes;
}

class KilledProcess : public StoreFileTest {
 protected:
    void make_store() {
        const OpenStore store(path.c_str());
        std::uint64_t *number = store.make("number", 16);
        number[0] = 100;
        number[1] = 200;
    }
};

TEST_F(KilledProcess, leaves_a_store_that_opens_rolled_back_in_every_byte) {
    make_store();
    const std::string before = settled_bytes(path);
    Peer peer(stop_in_a_transaction, path.c_str());
    ASSERT_TRUE(peer.tell() && peer.await());
    peer.kill();
    EXPECT_NE(settled_bytes(path).substr(0, before.size()), before);
    {
        const OpenStore store(path.c_str());
        ASSERT_EQ(store.error, 0U) << kel_error_text();
        EXPECT_EQ(store.describe().transactions, 0U);
        EXPECT_EQ(store.describe().rolled_back, 1U);
        EXPECT_EQ(store.find("number")[0], 100U);
        EXPECT_EQ(store.find("number")[1], 200U);
    }
    const std::string after = settled_bytes(path);
    EXPECT_EQ(after.substr(0, before.size()), before);
    EXPECT_EQ(after.find_first_not_of('\0', before.size()), std::string::npos);
}

TEST_F(KilledProcess, keeps_its_transaction_until_it_ends) {
    make_store();
    Peer peer(stop_in_a_transaction, path.c_str());
    ASSERT_TRUE(peer.tell() && peer.await());
    {
        const OpenStore store(path.c_str());
        EXPECT_EQ(store.describe().transactions, 1U);
        EXPECT_EQ(store.describe().rolled_back, 0U);
        peer.kill();
    }
    const OpenStore store(path.c_str());
    EXPECT_EQ(store.describe().transactions, 0U);
    EXPECT_EQ(store.find("number")[1], 200U);
}

// A block that is freed twice makes a commit trace it halfway through.
int stop_in_a_commit(Peer &test, const char *path) {
    TARN_PEER_EXPECT(test.await());
    const OpenStore store(path);
    TARN_PEER_EXPECT(store.error == 0);
    const auto stop = [](void *context, std::uint16_t, std::uint32_t, const char *) {
        static_cast<Peer *>(context)->tell();
        for (;;) ::pause();
    };
    kel_trace_set_sink(stop, &test);
    std::uint32_t tx = 0;
    TARN_PEER_EXPECT(kel_transaction_begin(store.handle, &tx) == 0);
    std::uint64_t *number = store.find("number");
    store.set(tx, number, 101);
    for (int i = 0; i < 2; ++i)
        store.handle->free_hook(store.handle->arena, tx, store.find("spare"));
    store.set(tx, number + 1, 201);
    TARN_PEER_EXPECT(kel_transaction_commit(store.handle, tx) == 0);
    return complain("the commit came to its end");
}

TEST_F(KilledProcess, has_the_commit_finished_that_it_was_in) {
    make_store();
    std::uint64_t blocks = 0;
    {
        const OpenStore store(path.c_str());
        store.make("spare", 500);
        blocks = store.describe().blocks;
    }
    Peer peer(stop_in_a_commit, path.c_str());
    ASSERT_TRUE(peer.tell() && peer.await());
    peer.kill();
    const OpenStore store(path.c_str());
    EXPECT_EQ(store.describe().transactions, 0U);
    EXPECT_EQ(store.describe().committed, 1U);
    EXPECT_EQ(store.describe().rolled_back, 0U);
    EXPECT_EQ(store.describe().blocks, blocks - 1);
    EXPECT_EQ(store.find("number")[0], 101U);
    EXPECT_EQ(store.find("number")[1], 201U);
}

}  // namespace
}  // namespace tarn::test
