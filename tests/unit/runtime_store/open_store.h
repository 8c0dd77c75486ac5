/* SPDX-License-Identifier: Apache-2.0 */
// A place for stores with files, and a handle on an open one.
#ifndef TARNBASE_TESTS_UNIT_RUNTIME_STORE_OPEN_STORE_H
#define TARNBASE_TESTS_UNIT_RUNTIME_STORE_OPEN_STORE_H

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/temporary_directory.h"
#include "tests/unit/runtime_store/support.h"

namespace tarn::test {

inline constexpr kel_store_options small_options{small_capacity, nullptr};

// An open store with files. `error` is the reason if it isn't open.
class OpenStore {
 public:
    explicit OpenStore(const char *path) {
        error = kel_store_open_or_create(path, &small_options, &store);
        if (error == 0) handle = make_handle(store, Mode::plain);
    }
    ~OpenStore() {
        kel_handle_destroy(handle);
        kel_store_close(store);
    }
    OpenStore(const OpenStore &) = delete;
    OpenStore &operator=(const OpenStore &) = delete;

    kel_store_description describe() const {
        kel_store_description description;
        kel_store_describe(store, &description);
        return description;
    }
    // Calls `action` with the id of a transaction, and commits it. Returns its result.
    template <typename Action>
    std::uint32_t change(Action action) const {
        std::uint32_t tx = KEL_TX_NONE;
        const std::uint32_t begun = kel_transaction_begin(handle, &tx);
        if (begun != 0) return begun;
        action(tx);
        return kel_transaction_commit(handle, tx);
    }

    // The block of a key, and a new block stored under a key; the process must be the writer.
    std::uint64_t *find(const char *key) const {
        return static_cast<std::uint64_t *>(loam_get_key(handle->arena, key));
    }
    std::uint64_t *make(const char *key, std::uint64_t size = 8) const {
        void *block = handle->alloc_hook(handle->arena, KEL_TX_NONE, size);
        loam_set_key(handle->arena, key, block);
        return static_cast<std::uint64_t *>(block);
    }
    void set(std::uint32_t tx, std::uint64_t *place, std::uint64_t value) const {
        handle->write_log_hook(handle->arena, place, sizeof value, tx);
        *place = value;
    }

    std::uint32_t error = 0;
    kel_store *store = nullptr;
    kel_handle *handle = nullptr;
};

// A directory of its own for each test.
class StoreTest : public ::testing::Test {
 protected:
    TemporaryDirectory temporary;
    const std::filesystem::path directory = temporary.path();
    std::string path = directory / "test.store";
};

}  // namespace tarn::test

#endif
