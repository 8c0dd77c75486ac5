// SPDX-License-Identifier: Apache-2.0
/// @file
/// A transaction: changes that are all made or all undone.
#ifndef TARNBASE_TARN_TRANSACTION_HPP
#define TARNBASE_TARN_TRANSACTION_HPP

#include "tarnbase/tarn/session.hpp"

namespace tarn {

/// Owns an open transaction and rolls it back unless it was committed. Move-only.
/// All changes made through its session while it is open belong to it.
class transaction {
 public:
#if TARN_EXCEPTIONS
    explicit transaction(session &in) : transaction(try_begin(in).value()) {}
#endif
    transaction(transaction &&other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    transaction &operator=(transaction &&other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~transaction() {
        if (is_open()) end(kel_transaction_rollback);
    }

    /// Begins a transaction: waits until no other process has one in the store, and brings the
    /// store up to date.
    /// Errors: EBUSY the session has one open; as kel_transaction_begin.
    static result<transaction> try_begin(session &in) {
        kel_handle *handle = in.c_handle();
        if (handle->cr_tx_id != KEL_TX_NONE)
            return error(EBUSY, "beginning a transaction: the session has one open");
        std::uint32_t id = KEL_TX_NONE;
        const std::uint32_t status = kel_transaction_begin(handle, &id);
        if (status != 0) return detail::last_failure(status);
        handle->cr_tx_id = id;
        return transaction(handle);
    }

    /// Makes the changes permanent, and shows them to other processes.
    /// Errors: EINVAL it isn't open; ENOSPC the disk is full, and it was rolled back; as
    /// kel_transaction_commit.
    result<void> try_commit() { return finish(kel_transaction_commit, "committing"); }
    /// Undoes the changes. Records inserted in the transaction, and views of them, are no
    /// longer valid.
    /// Errors: EINVAL it isn't open; ENOMEM there was no memory to log all of its changes.
    result<void> try_rollback() { return finish(kel_transaction_rollback, "rolling back"); }

#if TARN_EXCEPTIONS
    /// As try_commit; throws.
    void commit() { try_commit().value(); }
    /// As try_rollback; throws.
    void rollback() { try_rollback().value(); }
#endif

    /// Returns: whether it was neither committed nor rolled back.
    bool is_open() const noexcept { return handle_ != nullptr; }
    /// Returns: its id, for calls of the C interface. Requires: it is open.
    std::uint32_t id() const noexcept { return handle_->cr_tx_id; }

 private:
    using operation = std::uint32_t(kel_handle *, std::uint32_t);

    explicit transaction(kel_handle *handle) noexcept : handle_(handle) {}

    std::uint32_t end(operation *how) noexcept {
        const std::uint32_t id = std::exchange(handle_->cr_tx_id, KEL_TX_NONE);
        return how(std::exchange(handle_, nullptr), id);
    }
    result<void> finish(operation *how, const char *doing) {
        if (!is_open()) return error(EINVAL, std::string(doing) + ": the transaction isn't open");
        const std::uint32_t status = end(how);
        if (status != 0) return detail::last_failure(status);
        return {};
    }

    kel_handle *handle_;  // null after the end
};

}  // namespace tarn

#endif
