// SPDX-License-Identifier: Apache-2.0
// Transactions. An id is made of a slot's number and a count: one comparison finds the
// slot, and an id isn't used again soon.
#include "runtime/store/store.h"

using tarnbase::runtime::transaction_slots;
using tarnbase::runtime::TransactionSlot;
using tarnbase::runtime::UndoLog;
using tarnbase::runtime::UndoScope;

namespace {

constexpr std::uint32_t slot_bits = 5;
static_assert(1U << slot_bits == transaction_slots);

// Counts are from 1 to this one: no id is 0 or KEL_TX_NONE.
constexpr std::uint32_t last_count = (1U << (32 - slot_bits)) - 2;

std::uint32_t index_of(const kel_store &store, const TransactionSlot &slot) {
    return static_cast<std::uint32_t>(&slot - store.header->transactions);
}

}  // namespace

TransactionSlot *kel_store::transaction(std::uint32_t tx_id) const {
    TransactionSlot &slot = header->transactions[tx_id % transaction_slots];
    return tx_id != 0 && slot.id == tx_id ? &slot : nullptr;
}

TransactionSlot *kel_store::begin() {
    for (std::uint32_t i = 0; i < transaction_slots; ++i) {
        TransactionSlot &slot = header->transactions[i];
        if (slot.id != 0) continue;
        header->begun = header->begun % last_count + 1;
        slot.id = header->begun << slot_bits | i;
        begun_here |= 1U << i;
        return &slot;
    }
    return nullptr;
}

void kel_store::close_slot(TransactionSlot &slot) {
    begun_here &= ~(1U << index_of(*this, slot));
    slot = {};
}

void kel_store::commit(TransactionSlot &slot) {
    // From here on recovery finishes the commit instead of rolling it back.
    slot.committed = 1;
    UndoLog(*this, slot).commit();
    header->committed += 1;
    close_slot(slot);
}

bool kel_store::roll_back(TransactionSlot &slot, UndoScope scope) {
    const bool complete = slot.log_incomplete == 0;
    UndoLog(*this, slot).roll_back(scope);
    header->rolled_back += 1;
    close_slot(slot);
    return complete;
}
