// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/store.h"

#include <cerrno>

#include "runtime/base/error_text.h"
#include "runtime/index/positions.h"
#include "runtime/store/open_stores.h"
#include "runtime/store/table_refusal.h"
#include "tarnbase/runtime.h"

using tarnbase::runtime::TransactionSlot;

kel_store::~kel_store() {
    tarnbase::runtime::remove_open_store(*this);
    for (TransactionSlot &slot : transactions_) {
        if (slot.id != 0) roll_back(slot);
    }
    worker.stop();
    tarnbase::runtime::forget_positions();
}

bool kel_store::fails_on_purpose() {
    return allocations_until_failure != 0 && --allocations_until_failure == 0;
}

void *kel_store::fail_allocation(std::uint64_t size) const {
    tarnbase::runtime::fail(ENOMEM, "%s: no memory for a block of %llu bytes",
                            path.empty() ? "private store" : path.c_str(),
                            static_cast<unsigned long long>(size));
    return nullptr;
}

// A store that has grown needs large pages soon. If they can't be had now, its next growth tries
// again.
void kel_store::get_next_pages() {
    known_size_ = header->arena.size;
    if (next_pages_.is_busy()) return;
    const std::span<char> pages = region.next_large_pages(known_size_);
    if (pages.empty()) return;
    next_pages_.get(pages);
    if (!worker.wake()) next_pages_.get({});
}

// Whether this process may change the image. What is changed outside of transactions lasts.
bool kel_store::may_change(const TransactionSlot *slot) {
    if (sharing == nullptr) return true;
    if (!sharing->is_writer()) return false;
    if (slot == nullptr) sharing->has_lasting_changes = true;
    return true;
}

void *kel_store::allocate(std::uint32_t tx_id, std::uint64_t size) {
    if (fails_on_purpose()) return fail_allocation(size);
    // An open that needed no new block leaves its refusal to any later allocation.
    const bool is_refused = tarnbase::runtime::take_table_refusal();
    if (is_refused && tx_id == KEL_TX_NONE && size == sizeof(kel_table)) return nullptr;
    TransactionSlot *slot = transaction(tx_id);
    if (!may_change(slot)) {
        sharing->refuse_block("an allocation");
        return nullptr;
    }
    // Without a log entry a rollback would lose the block.
    if (slot != nullptr && !slot->undo.reserve()) return fail_allocation(size);
    void *block = allocator.allocate(size);
    if (block == nullptr) return fail_allocation(size);
    if (header->arena.size != known_size_) get_next_pages();
    if (slot != nullptr) {
        slot->undo.allocated(block);
        slot->new_blocks.add(offset_of(block), size);
    } else if (open_transactions_ > 0) {
        share_end_of_arena();
    }
    if (sharing != nullptr) sharing->changes().allocated(offset_of(block));
    return block;
}

void kel_store::release(std::uint32_t tx_id, void *block) {
    TransactionSlot *slot = transaction(tx_id);
    if (!may_change(slot)) {
        sharing->refuse_block("a release");
        return;
    }
    if (slot == nullptr || !allocator.is_allocated(block)) {
        release_now(block);
    } else if (!slot->undo.deferred_free(block)) {
        ptrail_wrapper(0, KEL_TRACE_ERROR, 0, "(ERR): no memory to log the release of %p", block);
    }
}

void kel_store::release_now(void *block) {
    if (!allocator.release(block)) {
        ptrail_wrapper(0, KEL_TRACE_ERROR, 0,
                       "(ERR): %p is released, but isn't an allocated block of the store", block);
    } else if (sharing != nullptr) {
        sharing->changes().released(offset_of(block));
    }
}

void kel_store::log_write(std::uint32_t tx_id, const void *address, std::uint64_t length) {
    TransactionSlot *slot = transaction(tx_id);
    // There is nothing to undo, and no process to publish to.
    if (slot == nullptr && sharing == nullptr) return;
    if (slot != nullptr && slot->new_blocks.contain(offset_of(address), length)) return;
    // At a rollback, memory outside the store may be gone or in use for something else.
    if (!contains(address, length)) return;
    if (!may_change(slot)) {
        sharing->refuse_write(address, length);
        return;
    }
    if (slot != nullptr) slot->undo.old_bytes(address, length);
    if (sharing != nullptr) sharing->changes().mark(offset_of(address), length);
}

void kel_store::log_delta(std::uint32_t tx_id, const void *address, std::int32_t delta) {
    constexpr std::uint64_t length = sizeof(std::uint64_t);
    TransactionSlot *slot = transaction(tx_id);
    const bool is_shared = sharing != nullptr && contains(address, length);
    if (is_shared && !may_change(slot)) {
        sharing->refuse_write(address, length);
        return;
    }
    if (slot != nullptr) slot->undo.delta(address, delta);
    if (is_shared) sharing->changes().mark(offset_of(address), length);
}

void kel_store::note_bytes(const void *address, std::uint64_t length) {
    if (sharing != nullptr && sharing->is_writer() && contains(address, length)) {
        sharing->changes().mark_unannounced(offset_of(address), length);
    }
}

void kel_store::note_block(const void *address) {
    if (sharing != nullptr && sharing->is_writer() && contains(address, 1)) {
        sharing->changes().mark(offset_of(address), 1);
    }
}
