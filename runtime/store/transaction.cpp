// SPDX-License-Identifier: Apache-2.0
// Transactions. An id is made of a slot's number and a count: one comparison finds the
// slot, and an id isn't used again soon.
//
// A commit is published when no other open transaction of the process has changed anything:
// what two transactions changed can't be told apart in memory.
#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "runtime/base/error_text.h"
#include "runtime/index/positions.h"
#include "runtime/store/store.h"
#include "tarnbase/runtime.h"

using tarnbase::runtime::ChangeSet;
using tarnbase::runtime::fail;
using tarnbase::runtime::transaction_slots;
using tarnbase::runtime::TransactionSlot;

namespace {

constexpr std::uint32_t slot_bits = 5;
static_assert(1U << slot_bits == transaction_slots);

// Counts are from 1 to this one: no id is 0 or KEL_TX_NONE.
constexpr std::uint32_t last_count = (1U << (32 - slot_bits)) - 2;

}  // namespace

bool kel_store::others_have_changes(const TransactionSlot &slot) const {
    if (open_transactions_ == 1) return false;
    return std::any_of(
        transactions_.begin(), transactions_.end(),
        [&](const TransactionSlot &other) { return &other != &slot && !other.undo.is_empty(); });
}

std::uint32_t kel_store::begin(std::uint32_t *tx_id) {
    const auto slot = std::find_if(transactions_.begin(), transactions_.end(),
                                   [](const TransactionSlot &each) { return each.id == 0; });
    if (slot == transactions_.end()) {
        return fail(EAGAIN, "kel_transaction_begin: %u transactions are open", transaction_slots);
    }
    if (const std::uint32_t error = become_writer("kel_transaction_begin")) return error;
    header->begun = header->begun % last_count + 1;
    slot->id =
        header->begun << slot_bits | static_cast<std::uint32_t>(slot - transactions_.begin());
    slot->thread.store(tarnbase::runtime::thread_number, std::memory_order_relaxed);
    open_transactions_ += 1;
    slot->new_blocks.begin(header->arena.size);
    if (open_transactions_ > 1) share_end_of_arena();
    *tx_id = slot->id;
    return 0;
}

// More than one of the open transactions, or a change outside of them, may take new pages.
void kel_store::share_end_of_arena() {
    for (TransactionSlot &slot : transactions_) slot.new_blocks.share_end();
}

void kel_store::close_slot(TransactionSlot &slot) {
    slot.undo.clear();
    slot.new_blocks.clear();
    label_of(slot).clear();
    slot.id = 0;
    slot.thread.store(0, std::memory_order_relaxed);
    open_transactions_ -= 1;
    stop_writing();
}

std::uint32_t kel_store::publish_commit(const TransactionSlot &slot) {
    const std::size_t events = sharing->changes().block_events();
    slot.undo.each_deferred_free(
        [&](const void *block) { sharing->changes().released(offset_of(block)); });
    std::string labels = sharing->add_label(label_of(slot));
    if (others_have_changes(slot)) {
        sharing->has_lasting_changes = true;
        return 0;
    }
    const std::uint32_t error = sharing->publish();
    if (error == 0) return 0;
    sharing->changes().forget_blocks(events);
    sharing->set_labels(std::move(labels));
    return error;
}

// Each waits until the next ones' memory is on its way to the processor.
void kel_store::release_deferred(const TransactionSlot &slot) {
    std::array<void *, 8> waiting{};
    std::size_t next = 0;
    const auto release_one = [&](void *block) {
        if (block == nullptr || allocator.release(block)) return;
        ptrail_wrapper(0, KEL_TRACE_ERROR, 0,
                       "(ERR): %p is released, but isn't an allocated block of the store", block);
    };
    slot.undo.each_deferred_free([&](void *block) {
        allocator.prefetch(block);
        release_one(std::exchange(waiting[next++ % waiting.size()], block));
    });
    for (std::size_t i = 0; i < waiting.size(); ++i) {
        release_one(waiting[next++ % waiting.size()]);
    }
}

std::uint32_t kel_store::commit(TransactionSlot &slot) {
    header->committed += 1;
    if (sharing != nullptr && sharing->is_writer()) {
        if (const std::uint32_t error = publish_commit(slot)) {
            header->committed -= 1;
            roll_back(slot);
            return error;
        }
    }
    release_deferred(slot);
    close_slot(slot);
    return sharing != nullptr ? sharing->settle() : 0;
}

// A rollback doesn't restore what the library stored without an announcement. That is published as
// by a commit; if this fails, with the next frame.
void kel_store::publish_rollback(const TransactionSlot &slot, bool is_complete) {
    if (sharing == nullptr || !sharing->is_writer() || others_have_changes(slot)) return;
    ChangeSet &changes = sharing->changes();
    if (changes.is_empty()) return;
    const bool is_undone =
        is_complete && !sharing->has_lasting_changes && !changes.has_unannounced_bytes();
    if ((is_undone ? sharing->publish_undone() : sharing->publish()) == 0) return;
    if (!sharing->has_lasting_changes) changes.keep_marks();
}

std::uint32_t kel_store::roll_back(TransactionSlot &slot) {
    const bool is_complete = !slot.undo.is_incomplete();
    tarnbase::runtime::forget_positions();
    slot.undo.roll_back([this](void *block) { release_now(block); });
    header->rolled_back += 1;
    publish_rollback(slot, is_complete);
    close_slot(slot);
    return is_complete ? 0 : ENOMEM;
}
