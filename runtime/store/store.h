/* SPDX-License-Identifier: Apache-2.0 */
// A store that this process has open. The part that all processes share begins at the
// header.
#ifndef TARNBASE_RUNTIME_STORE_STORE_H
#define TARNBASE_RUNTIME_STORE_STORE_H

#include <cstdint>
#include <string>

#include "runtime/arena/allocator.h"
#include "runtime/arena/region.h"
#include "runtime/index/block_allocator.h"
#include "runtime/store/header.h"
#include "runtime/store/undo_log.h"
#include "tarnbase/embedded.h"

struct kel_store final : tarnbase::runtime::BlockAllocator {
    kel_store() = default;
    ~kel_store();
    kel_store(const kel_store &) = delete;
    kel_store &operator=(const kel_store &) = delete;

    // Makes an empty store in a region that was just mapped. Returns 0 or an errno number.
    std::uint32_t format();
    // Uses a mapped region that contains a store.
    void attach();
    // Ends the transactions that a process left open when it ended: finishes commits and
    // rolls the others back.
    void recover();

    void *allocate(std::uint32_t tx_id, std::uint64_t size) override;
    // An address that is no allocated block is traced and otherwise ignored.
    void release(std::uint32_t tx_id, void *block) override;
    void release_now(void *block);

    // Log changes that are about to be made, as the log hooks do.
    void log_write(std::uint32_t tx_id, const void *address, std::uint64_t length);
    void log_delta(std::uint32_t tx_id, const void *address, std::int32_t delta);

    // Whether bytes are in the part of the store that is in use.
    bool contains(const void *address, std::uint64_t length) const;

    // The open transaction of that id, or null.
    tarnbase::runtime::TransactionSlot *transaction(std::uint32_t tx_id) const;
    // Begins a transaction. Null: too many are open.
    tarnbase::runtime::TransactionSlot *begin();
    void commit(tarnbase::runtime::TransactionSlot &slot);
    // False: the log is incomplete, and some changes stay.
    bool roll_back(tarnbase::runtime::TransactionSlot &slot, tarnbase::runtime::UndoScope scope);

    tarnbase::runtime::Region region;
    tarnbase::runtime::StoreHeader *header = nullptr;
    tarnbase::runtime::Allocator allocator;
    std::string path;                             // empty: a private store
    std::uint64_t allocations_until_failure = 0;  // 0: none fails on purpose
    std::uint32_t begun_here = 0;                 // a bit for each transaction slot

 private:
    bool fails_on_purpose();
    void close_slot(tarnbase::runtime::TransactionSlot &slot);
};

#endif
