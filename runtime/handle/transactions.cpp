// SPDX-License-Identifier: Apache-2.0
#include <cerrno>
#include <new>
#include <string_view>

#include "runtime/base/error_text.h"
#include "runtime/handle/handle.h"
#include "runtime/log/notes.h"
#include "tarnbase/embedded.h"
#include "tarnbase/journal.h"

using tarnbase::runtime::fail;
using tarnbase::runtime::most_label_bytes;
using tarnbase::runtime::private_part;
using tarnbase::runtime::store_of;
using tarnbase::runtime::TransactionSlot;

std::uint32_t kel_transaction_begin(kel_handle *handle, std::uint32_t *tx_id) {
    try {
        const std::uint32_t error = store_of(handle).begin(tx_id);
        if (error == 0) private_part(handle).found_types.begin(*tx_id);
        return error;
    } catch (const std::bad_alloc &) {
        return fail(ENOMEM, "kel_transaction_begin: no memory");
    }
}

std::uint32_t kel_transaction_commit(kel_handle *handle, std::uint32_t tx_id) {
    kel_store &store = store_of(handle);
    TransactionSlot *slot = store.transaction(tx_id);
    if (slot == nullptr) {
        return fail(EINVAL, "kel_transaction_commit: transaction %u is not open", tx_id);
    }
    return store.commit(*slot);
}

std::uint32_t kel_transaction_rollback(kel_handle *handle, std::uint32_t tx_id) {
    kel_store &store = store_of(handle);
    TransactionSlot *slot = store.transaction(tx_id);
    if (slot == nullptr) {
        return fail(EINVAL, "kel_transaction_rollback: transaction %u is not open", tx_id);
    }
    if (store.roll_back(*slot) != 0) {
        return fail(ENOMEM,
                    "kel_transaction_rollback: there was no memory for the whole log of "
                    "transaction %u: its oldest changes are rolled back, later ones stay",
                    tx_id);
    }
    return 0;
}

std::uint32_t kel_transaction_label(kel_handle *handle, std::uint32_t tx_id, const char *text) {
    kel_store &store = store_of(handle);
    const TransactionSlot *slot = store.transaction(tx_id);
    if (slot == nullptr) {
        return fail(EINVAL, "kel_transaction_label: transaction %u is not open", tx_id);
    }
    const std::string_view label = text != nullptr ? text : "";
    if (label.size() > most_label_bytes) {
        return fail(E2BIG,
                    "kel_transaction_label: the label has %zu bytes, at most %zu are allowed",
                    label.size(), most_label_bytes);
    }
    try {
        store.label_of(*slot) = label;
        return 0;
    } catch (const std::bad_alloc &) {
        return fail(ENOMEM, "kel_transaction_label: no memory");
    }
}
