// SPDX-License-Identifier: Apache-2.0
// Transactions. An id is the number of a slot and a count, so that finding the slot
// takes one comparison and an id doesn't come back soon.
#include <cerrno>

#include "runtime/base/error_text.h"
#include "runtime/handle/handle.h"

using tarn::runtime::fail;
using tarn::runtime::store_of;
using tarn::runtime::transaction_slots;
using tarn::runtime::TransactionSlot;
using tarn::runtime::UndoLog;
using tarn::runtime::UndoScope;

namespace {

constexpr std::uint32_t slot_bits = 5;
static_assert(1U << slot_bits == transaction_slots);

// Counts run from 1 to this one: no id is 0 or KEL_TX_NONE.
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
    // From here on a process that ends leaves a commit to finish, not one to take back.
    slot.committed = 1;
    UndoLog(*this, slot).forget();
    header->committed += 1;
    close_slot(slot);
}

bool kel_store::roll_back(TransactionSlot &slot, UndoScope scope) {
    const bool complete = slot.log_incomplete == 0;
    UndoLog(*this, slot).undo(scope);
    header->rolled_back += 1;
    close_slot(slot);
    return complete;
}

std::uint32_t kel_transaction_begin(kel_handle *handle, std::uint32_t *tx_id) {
    const TransactionSlot *slot = store_of(handle).begin();
    if (slot == nullptr) {
        return fail(EAGAIN, "kel_transaction_begin: %u transactions are open", transaction_slots);
    }
    *tx_id = slot->id;
    return 0;
}

std::uint32_t kel_transaction_commit(kel_handle *handle, std::uint32_t tx_id) {
    kel_store &store = store_of(handle);
    TransactionSlot *slot = store.transaction(tx_id);
    if (slot == nullptr) {
        return fail(EINVAL, "kel_transaction_commit: transaction %u is not open", tx_id);
    }
    store.commit(*slot);
    return 0;
}

std::uint32_t kel_transaction_rollback(kel_handle *handle, std::uint32_t tx_id) {
    kel_store &store = store_of(handle);
    TransactionSlot *slot = store.transaction(tx_id);
    if (slot == nullptr) {
        return fail(EINVAL, "kel_transaction_rollback: transaction %u is not open", tx_id);
    }
    if (!store.roll_back(*slot, UndoScope::this_process)) {
        return fail(ENOSPC,
                    "kel_transaction_rollback: the store had no room for the whole log of "
                    "transaction %u: its oldest changes are taken back, later ones stay",
                    tx_id);
    }
    return 0;
}
