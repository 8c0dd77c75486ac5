// SPDX-License-Identifier: Apache-2.0
// Transactions whose undo log gets no memory.
#include <cerrno>
#include <cstring>
#include <new>
#include <string>

#include "tests/unit/runtime_store/open_store.h"

namespace {

bool refuses_memory = false;

}  // namespace

// Replaces the C++ library's. The undo log takes its memory with it.
void *operator new(std::size_t size, const std::nothrow_t &) noexcept {
    if (refuses_memory) return nullptr;
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

namespace tarn::test {
namespace {

class RefusedMemory {
 public:
    RefusedMemory() { refuses_memory = true; }
    RefusedMemory(const RefusedMemory &) = delete;
    RefusedMemory &operator=(const RefusedMemory &) = delete;
    ~RefusedMemory() { refuses_memory = false; }
};

using UndoMemory = StoreTest;

TEST_F(UndoMemory, WhatARollbackCannotRestoreIsPublished) {
    // Two of these don't fit in one chunk of the log.
    constexpr std::size_t length = 32768;
    const auto bytes_of = [](const OpenStore &open) {
        return std::string(reinterpret_cast<const char *>(open.find("block")), 2 * length);
    };
    std::string left;
    {
        const OpenStore open(path.c_str());
        ASSERT_EQ(kel_store_lock(open.store), 0U);
        open.make("block", 2 * length);
        ASSERT_EQ(kel_store_unlock(open.store), 0U);
        auto *const bytes = reinterpret_cast<char *>(open.find("block"));
        std::uint32_t tx = KEL_TX_NONE;
        ASSERT_EQ(kel_transaction_begin(open.handle, &tx), 0U);
        open.handle->write_log_hook(open.handle->arena, bytes, length, tx);
        std::memset(bytes, 'a', length);
        {
            const RefusedMemory refused;
            open.handle->write_log_hook(open.handle->arena, bytes + length, length, tx);
            std::memset(bytes + length, 'b', length);
        }
        EXPECT_EQ(kel_transaction_rollback(open.handle, tx), std::uint32_t{ENOMEM});
        left = bytes_of(open);
    }
    EXPECT_EQ(left, std::string(length, '\0') + std::string(length, 'b'));
    const OpenStore again(path.c_str());
    EXPECT_TRUE(bytes_of(again) == left) << "another process has other bytes";
}

}  // namespace
}  // namespace tarn::test
