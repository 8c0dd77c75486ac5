// SPDX-License-Identifier: Apache-2.0
// Stores in a process that may not map as much as a store reserves by default.
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <string>

#include "tests/unit/runtime_store/open_store.h"
#include "tests/unit/runtime_store/peer.h"

namespace tarn::test {
namespace {

constexpr std::uint64_t gigabyte = 1ULL << 30;

std::uint64_t mapped_bytes() {
    std::uint64_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

// Limits the process to `more` bytes above what it has mapped.
class AddressLimit : public StoreTest {
 protected:
    AddressLimit() { ::getrlimit(RLIMIT_AS, &before_); }
    ~AddressLimit() override {
        kel_store_close(store);
        ::setrlimit(RLIMIT_AS, &before_);
    }

    void leave_room_for(std::uint64_t more) {
        const rlimit limit{mapped_bytes() + more, before_.rlim_max};
        ASSERT_EQ(::setrlimit(RLIMIT_AS, &limit), 0);
    }
    // Creates a store with a capacity of 64 GiB.
    void create_large() {
        ASSERT_EQ(kel_store_create(path.c_str(), nullptr, &store), 0U) << kel_error_text();
        ASSERT_EQ(capacity(), 64 * gigabyte);
        kel_store_close(store);
        store = nullptr;
    }
    std::uint64_t capacity() const {
        kel_store_description description;
        kel_store_describe(store, &description);
        return description.capacity;
    }

    kel_store *store = nullptr;

 private:
    rlimit before_{};
};

TEST_F(AddressLimit, GivesAPrivateStoreTheCapacityThatIsLeft) {
    leave_room_for(10 * gigabyte);
    ASSERT_EQ(kel_store_create_private(nullptr, &store), 0U) << kel_error_text();
    EXPECT_EQ(capacity(), 8 * gigabyte);
}

TEST_F(AddressLimit, GivesAStoreOnDiskTheCapacityThatIsLeftAndKeepsIt) {
    leave_room_for(10 * gigabyte);
    ASSERT_EQ(kel_store_create(path.c_str(), nullptr, &store), 0U) << kel_error_text();
    EXPECT_EQ(capacity(), 8 * gigabyte);
    kel_store_close(store);
    ASSERT_EQ(kel_store_open(path.c_str(), &store), 0U) << kel_error_text();
    EXPECT_EQ(capacity(), 8 * gigabyte);
}

TEST_F(AddressLimit, IsReportedWhenLessThanTheLeastCapacityIsLeft) {
    leave_room_for(gigabyte / 2);
    EXPECT_EQ(kel_store_create_private(nullptr, &store), static_cast<std::uint32_t>(ENOMEM));
    EXPECT_EQ(store, nullptr);
    EXPECT_EQ(kel_store_create(path.c_str(), nullptr, &store), static_cast<std::uint32_t>(ENOMEM));
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(AddressLimit, LeavesACapacityThatWasAskedForAsItIs) {
    leave_room_for(10 * gigabyte);
    const kel_store_options options{16 * gigabyte, nullptr};
    EXPECT_EQ(kel_store_create_private(&options, &store), static_cast<std::uint32_t>(ENOMEM));
    EXPECT_EQ(kel_store_create(path.c_str(), &options, &store), static_cast<std::uint32_t>(ENOMEM));
}

// Too little for a gigabyte, and enough for a sanitizer's own memory.
constexpr std::uint64_t little = gigabyte / 4 * 3;

bool add_block(const OpenStore &in, const std::string &name, std::uint64_t bytes) {
    bool made = false;
    const std::uint32_t error = in.change([&](std::uint32_t) {
        std::uint64_t *block = in.make(name.c_str(), bytes);
        made = block != nullptr;
        if (made) block[0] = bytes;
    });
    EXPECT_EQ(error, 0U) << kel_error_text();
    return made;
}

TEST_F(AddressLimit, DoesNotKeepAProcessFromOpeningALargerStore) {
    create_large();
    leave_room_for(little);
    const OpenStore opened(path.c_str());
    ASSERT_EQ(opened.error, 0U) << kel_error_text();
    EXPECT_EQ(opened.describe().capacity, 64 * gigabyte);
    ASSERT_TRUE(add_block(opened, "first", 64 << 20));
    EXPECT_EQ(kel_store_checkpoint(opened.store), 0U) << kel_error_text();
    std::uint64_t *first = opened.find("first");
    ASSERT_EQ(opened.change([&](std::uint32_t tx) { opened.set(tx, first, 5); }), 0U);
    EXPECT_EQ(*opened.find("first"), 5U);
}

TEST_F(AddressLimit, EndsTheGrowthOfALargerStoreAndLeavesItUsable) {
    create_large();
    leave_room_for(little);
    {
        const OpenStore opened(path.c_str());
        ASSERT_EQ(opened.error, 0U) << kel_error_text();
        ASSERT_TRUE(add_block(opened, "first", 16 << 20));
        EXPECT_FALSE(add_block(opened, "large", gigabyte));
        ASSERT_TRUE(add_block(opened, "second", 16 << 20));
    }
    const OpenStore again(path.c_str());
    ASSERT_EQ(again.error, 0U) << kel_error_text();
    EXPECT_EQ(*again.find("first"), 16U << 20);
    EXPECT_EQ(*again.find("second"), 16U << 20);
    EXPECT_EQ(again.find("large"), nullptr);
}

int grow_by_a_gigabyte(Peer &test, const char *path) {
    TARN_PEER_EXPECT(test.await());
    const OpenStore store(path);
    TARN_PEER_EXPECT(store.error == 0);
    TARN_PEER_EXPECT(add_block(store, "large", gigabyte));
    TARN_PEER_EXPECT(test.tell());
    return 0;
}

TEST_F(AddressLimit, IsReportedByARefreshThatWouldNeedMore) {
    create_large();
    Peer peer(grow_by_a_gigabyte, path.c_str());
    leave_room_for(little);
    const OpenStore opened(path.c_str());
    ASSERT_EQ(opened.error, 0U) << kel_error_text();
    ASSERT_TRUE(add_block(opened, "small", 8));
    ASSERT_TRUE(peer.tell() && peer.await());
    EXPECT_EQ(kel_store_refresh(opened.store), std::uint32_t{ENOMEM});
    EXPECT_NE(std::string(kel_error_text()).find("can't map more"), std::string::npos);
    ASSERT_NE(opened.find("small"), nullptr) << "it can be read as it was before";
    std::uint32_t tx = 0;
    EXPECT_EQ(kel_transaction_begin(opened.handle, &tx), std::uint32_t{ENOMEM});
    EXPECT_EQ(peer.join(), 0);
}

}  // namespace
}  // namespace tarn::test
