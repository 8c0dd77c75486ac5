/* SPDX-License-Identifier: Apache-2.0 */
// Small stores and repeatable random numbers, for the tests of this folder.
#ifndef TARNBASE_TESTS_UNIT_RUNTIME_STORE_SUPPORT_H
#define TARNBASE_TESTS_UNIT_RUNTIME_STORE_SUPPORT_H

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "tarnbase/embedded.h"
#include "tarnbase/runtime.h"
#include "tests/support/fixture.h"
#include "tests/support/snapshot.h"

namespace tarn::test {

inline constexpr std::uint64_t small_capacity = 64ULL << 20;
inline constexpr std::uint64_t least_capacity = 2ULL << 20;

// A private store of small capacity, whose bytes are compared quickly.
class SmallStore {
 public:
    explicit SmallStore(std::uint64_t capacity = small_capacity) {
        const kel_store_options options{capacity, nullptr};
        if (kel_store_create_private(&options, &store) != 0) {
            throw std::runtime_error(kel_error_text());
        }
        handle = make_handle(store, Mode::plain);
    }
    ~SmallStore() {
        kel_handle_destroy(handle);
        kel_store_close(store);
    }
    SmallStore(const SmallStore &) = delete;
    SmallStore &operator=(const SmallStore &) = delete;

    std::uint32_t begin() {
        std::uint32_t tx = KEL_TX_NONE;
        EXPECT_EQ(kel_transaction_begin(handle, &tx), 0U) << kel_error_text();
        return tx;
    }
    void commit(std::uint32_t tx) { ASSERT_EQ(kel_transaction_commit(handle, tx), 0U); }
    void roll_back(std::uint32_t tx) { ASSERT_EQ(kel_transaction_rollback(handle, tx), 0U); }

    void *allocate(std::uint64_t size, std::uint32_t tx = KEL_TX_NONE) {
        return handle->alloc_hook(handle->arena, tx, size);
    }
    void release(void *block, std::uint32_t tx = KEL_TX_NONE) {
        handle->free_hook(handle->arena, tx, block);
    }
    // Announces bytes and stores them.
    void write(std::uint32_t tx, void *place, const void *bytes, std::size_t length) {
        handle->write_log_hook(handle->arena, place, length, tx);
        std::memcpy(place, bytes, length);
    }
    template <typename T>
    void set(std::uint32_t tx, T *place, T value) {
        write(tx, place, &value, sizeof value);
    }

    kel_store_description describe() const {
        kel_store_description description;
        kel_store_describe(store, &description);
        return description;
    }

    kel_store *store = nullptr;
    kel_handle *handle = nullptr;
};

class SmallStoreTest : public ::testing::Test {
 protected:
    SmallStore store;
};

// Random numbers from a seed.
class Chance {
 public:
    explicit Chance(std::uint32_t seed) : engine_(seed) {}

    // From 0 to `limit` - 1.
    std::uint64_t below(std::uint64_t limit) { return engine_() % limit; }
    std::vector<std::uint8_t> bytes(std::size_t length) {
        std::vector<std::uint8_t> made(length);
        for (std::uint8_t &byte : made) byte = static_cast<std::uint8_t>(engine_());
        return made;
    }
    template <typename T>
    std::size_t index_in(const std::vector<T> &items) {
        return below(items.size());
    }

 private:
    std::mt19937 engine_;
};

inline std::string seed_and_step(std::uint32_t seed, int step) {
    return "seed " + std::to_string(seed) + ", step " + std::to_string(step);
}

}  // namespace tarn::test

#endif
