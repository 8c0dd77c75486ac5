// SPDX-License-Identifier: Apache-2.0
// Stores in a process that may not map as much as a store reserves by default.
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>

#include "tests/unit/runtime_store/store_file.h"

namespace tarn::test {
namespace {

constexpr std::uint64_t gigabyte = 1ULL << 30;

std::uint64_t mapped_bytes() {
    std::uint64_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

// Limits the process to `more` bytes above what it has mapped.
class AddressLimit : public StoreFileTest {
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
    std::uint64_t capacity() const {
        kel_store_description description;
        kel_store_describe(store, &description);
        return description.capacity;
    }

    kel_store *store = nullptr;

 private:
    rlimit before_{};
};

TEST_F(AddressLimit, gives_a_private_store_the_capacity_that_is_left) {
    leave_room_for(10 * gigabyte);
    ASSERT_EQ(kel_store_create_private(nullptr, &store), 0U) << kel_error_text();
    EXPECT_EQ(capacity(), 8 * gigabyte);
}

TEST_F(AddressLimit, gives_a_store_file_the_capacity_that_is_left_and_keeps_it) {
    leave_room_for(10 * gigabyte);
    ASSERT_EQ(kel_store_create(path.c_str(), nullptr, &store), 0U) << kel_error_text();
    EXPECT_EQ(capacity(), 8 * gigabyte);
    kel_store_close(store);
    ASSERT_EQ(kel_store_open(path.c_str(), &store), 0U) << kel_error_text();
    EXPECT_EQ(capacity(), 8 * gigabyte);
}

TEST_F(AddressLimit, is_reported_when_less_than_the_least_capacity_is_left) {
    leave_room_for(gigabyte / 2);
    EXPECT_EQ(kel_store_create_private(nullptr, &store), static_cast<std::uint32_t>(ENOMEM));
    EXPECT_EQ(store, nullptr);
    EXPECT_EQ(kel_store_create(path.c_str(), nullptr, &store), static_cast<std::uint32_t>(ENOMEM));
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(AddressLimit, leaves_a_capacity_that_was_asked_for_as_it_is) {
    leave_room_for(10 * gigabyte);
    const kel_store_options options{16 * gigabyte, nullptr};
    EXPECT_EQ(kel_store_create_private(&options, &store), static_cast<std::uint32_t>(ENOMEM));
    EXPECT_EQ(kel_store_create(path.c_str(), &options, &store), static_cast<std::uint32_t>(ENOMEM));
}

}  // namespace
}  // namespace tarn::test
