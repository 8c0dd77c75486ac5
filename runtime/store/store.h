/* SPDX-License-Identifier: Apache-2.0 */
// A store as this process has it open. What every process shares begins at the header.
#ifndef TARNBASE_RUNTIME_STORE_STORE_H
#define TARNBASE_RUNTIME_STORE_STORE_H

#include <cstdint>
#include <string>

#include "runtime/arena/allocator.h"
#include "runtime/arena/region.h"
#include "runtime/store/header.h"
#include "runtime/store/undo_log.h"
#include "tarnbase/embedded.h"

struct kel_store {
    kel_store() = default;
    ~kel_store();
    kel_store(const kel_store &) = delete;
    kel_store &operator=(const kel_store &) = delete;

    // Makes an empty store of a region that was just mapped: 0 or an errno number.
    std::uint32_t format();
    // Takes up a region that holds a store.
    void attach();
    // Takes the transactions back that an ended process left open, or finishes commits.
    void recover();

    // A zeroed block, or null. In a transaction a rollback frees it.
    void *allocate(std::uint32_t tx_id, std::uint64_t size);
    // Frees a block, in a transaction when that commits. An address that is no
    // allocated block is reported and left alone.
    void release(std::uint32_t tx_id, void *block);
    void release_now(void *block);

    // Announce changes that are about to be made, as the log hooks do.
    void log_write(std::uint32_t tx_id, const void *address, std::uint64_t length);
    void log_delta(std::uint32_t tx_id, const void *address, std::int32_t delta);

    // Whether bytes lie in the part of the store that is in use.
    bool contains(const void *address, std::uint64_t length) const;

    // The open transaction of that id, or null.
    tarn::runtime::TransactionSlot *transaction(std::uint32_t tx_id) const;
    // Opens a transaction. Null: too many are open.
    tarn::runtime::TransactionSlot *begin();
    void commit(tarn::runtime::TransactionSlot &slot);
    // False: the log had run out of room, and some changes stay.
    bool roll_back(tarn::runtime::TransactionSlot &slot, tarn::runtime::UndoScope scope);

    tarn::runtime::Region region;
    tarn::runtime::StoreHeader *header = nullptr;
    tarn::runtime::Allocator allocator;
    std::string path;                             // empty: a private store
    std::uint64_t allocations_until_failure = 0;  // 0: none is to fail
    std::uint32_t begun_here = 0;                 // bit a transaction slot

 private:
    bool allocation_is_to_fail();
    void close_slot(tarn::runtime::TransactionSlot &slot);
};

#endif
