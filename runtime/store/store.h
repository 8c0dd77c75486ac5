/* SPDX-License-Identifier: Apache-2.0 */
// A store that this process has open: an image of its content, the transactions that are open,
// and for a store with files the part that is shared with other processes.
#ifndef TARNBASE_RUNTIME_STORE_STORE_H
#define TARNBASE_RUNTIME_STORE_STORE_H

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "runtime/arena/next_pages.h"
#include "runtime/base/worker.h"
#include "runtime/index/block_allocator.h"
#include "runtime/store/image.h"
#include "runtime/store/new_blocks.h"
#include "runtime/store/reading_scopes.h"
#include "runtime/store/sharing.h"
#include "runtime/store/undo_log.h"
#include "tarnbase/embedded.h"
#include "tarnbase/runtime.h"

namespace tarnbase::runtime {

inline constexpr std::uint32_t transaction_slots = 32;

struct TransactionSlot {
    std::uint32_t id = 0;  // 0: free
    UndoLog undo;
    NewBlocks new_blocks;
    std::atomic<std::uint32_t> thread = 0;  // the number of the one that began it
};

}  // namespace tarnbase::runtime

struct kel_store final : tarnbase::runtime::Image, tarnbase::runtime::BlockAllocator {
    kel_store() { worker.add(next_pages_); }
    ~kel_store();
    kel_store(const kel_store &) = delete;
    kel_store &operator=(const kel_store &) = delete;

    void *allocate(std::uint32_t tx_id, std::uint64_t size) override;
    // An address that is no allocated block is traced and otherwise ignored.
    void release(std::uint32_t tx_id, void *block) override;
    void release_now(void *block);

    // Log changes that are about to be made, as the log hooks do.
    void log_write(std::uint32_t tx_id, const void *address, std::uint64_t length);
    void log_delta(std::uint32_t tx_id, const void *address, std::int32_t delta);
    // Notes that the library may change an object, or bytes, without an announcement.
    void note_block(const void *address);
    void note_bytes(const void *address, std::uint64_t length);

    // The open transaction of that id, or null.
    tarnbase::runtime::TransactionSlot *transaction(std::uint32_t tx_id) {
        auto &slot = transactions_[tx_id % tarnbase::runtime::transaction_slots];
        return tx_id != 0 && slot.id == tx_id ? &slot : nullptr;
    }
    std::uint64_t open_transactions() const { return open_transactions_; }
    bool has_open_transaction() const { return open_transactions_ != 0; }
    // What the journal says of an open transaction.
    std::string &label_of(const tarnbase::runtime::TransactionSlot &slot) {
        return labels_[slot.id % tarnbase::runtime::transaction_slots];
    }
    // Begins a transaction. Returns 0, EAGAIN if too many are open, or the reason why the process
    // can't write.
    std::uint32_t begin(std::uint32_t *tx_id);
    // Error: the transaction was rolled back.
    std::uint32_t commit(tarnbase::runtime::TransactionSlot &slot);
    // ENOMEM: the log is incomplete, and some changes stay.
    std::uint32_t roll_back(tarnbase::runtime::TransactionSlot &slot);

    // Becomes the writer until `unlock`, as often as it is called.
    std::uint32_t lock();
    std::uint32_t unlock();

    // Whether the worker has got all the pages that it was to get.
    bool has_next_pages() const { return !next_pages_.is_busy(); }

    // Reading scopes of the calling thread. It can refresh only if it has none.
    std::uint32_t begin_read(bool refreshed);
    std::uint32_t refresh();
    // Returns 0, or sets the error text: EDEADLK this thread has a reading scope open.
    std::uint32_t check_not_reading(const char *what) const;

    tarnbase::runtime::ReadingScopes scopes;
    tarnbase::runtime::Worker worker;                     // makes ready what the writer needs next
    std::string path;                                     // empty: a private store
    std::unique_ptr<tarnbase::runtime::Sharing> sharing;  // null: a private store
    // The tables of a salvaged store, and the pages of their indexes.
    std::vector<std::unique_ptr<kel_table>> salvaged_tables;
    std::vector<std::unique_ptr<char[]>> salvaged_pages;
    std::uint64_t allocations_until_failure = 0;  // 0: none fails on purpose
    // The comparison of the last key index that got its first record. A check finds a table's
    // comparison here.
    e_avl_compare_function order_of_new_tree = nullptr;

 private:
    std::uint32_t become_writer(const char *what);
    // Ends what `become_writer` began, unless a lock or a transaction needs it.
    std::uint32_t stop_writing();
    // Whether this thread has begun a transaction, or the lock, that is still open.
    bool is_writing_thread() const;

    void get_next_pages();
    bool fails_on_purpose();
    // Returns null.
    void *fail_allocation(std::uint64_t size) const;
    bool may_change(const tarnbase::runtime::TransactionSlot *slot);
    std::uint32_t publish_commit(const tarnbase::runtime::TransactionSlot &slot);
    bool others_have_changes(const tarnbase::runtime::TransactionSlot &slot) const;
    void publish_rollback(const tarnbase::runtime::TransactionSlot &slot, bool is_complete);
    void close_slot(tarnbase::runtime::TransactionSlot &slot);
    void share_end_of_arena();
    void release_deferred(const tarnbase::runtime::TransactionSlot &slot);

    std::array<tarnbase::runtime::TransactionSlot, tarnbase::runtime::transaction_slots>
        transactions_;
    std::uint32_t open_transactions_ = 0;
    tarnbase::runtime::NextPages next_pages_;
    std::uint64_t known_size_ = 0;  // the store's, when the next pages were last looked at
    std::uint64_t locks_ = 0;       // calls of `lock` that aren't undone
    std::atomic<std::uint32_t> locking_thread_ = 0;
    bool writes_privately_ = false;  // a private store, in a change of `scopes`
    std::array<std::string, tarnbase::runtime::transaction_slots> labels_;  // of transactions
};

#endif
