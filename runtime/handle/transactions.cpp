// SPDX-License-Identifier: Apache-2.0
#include <cerrno>

#include "runtime/base/error_text.h"
#include "runtime/store/store_handle.h"
#include "tarnbase/embedded.h"

using tarnbase::runtime::fail;
using tarnbase::runtime::store_of;
using tarnbase::runtime::transaction_slots;
using tarnbase::runtime::TransactionSlot;
using tarnbase::runtime::UndoScope;

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
