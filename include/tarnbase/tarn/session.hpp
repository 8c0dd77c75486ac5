// SPDX-License-Identifier: Apache-2.0
/// @file
/// A session: one thread's connection to a store.
#ifndef TARNBASE_TARN_SESSION_HPP
#define TARNBASE_TARN_SESSION_HPP

#include "tarnbase/module.h"
#include "tarnbase/runtime.h"
#include "tarnbase/tarn/store.hpp"

namespace tarn {

/// The type descriptors that the objects of a session get.
enum class descriptors : std::uint8_t {
    of_library,  ///< the library's, so that only this process can read the objects
    of_store,    ///< the store's own, so that any process can
};

/// Owns a handle. Move-only; make one per thread, they are cheap. Changes made through it
/// belong to its open transaction; without one they are permanent at once in a private store,
/// and refused in a store with files.
/// Lifetime: it must outlive its tables, records and transactions.
class session {
 public:
#if TARN_EXCEPTIONS
    explicit session(const store &on) : session(try_open(on).value()) {}
    session(const store &on, descriptors which) : session(try_open(on, which).value()) {}
#endif
    session(session &&other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    session &operator=(session &&other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~session() { kel_handle_destroy(handle_); }

    /// Opens a session. In a store with files, objects get the store's own descriptors, so
    /// that any process can read them. Error: ENOMEM.
    static result<session> try_open(const store &on) {
        return try_open(on, on.has_path() ? descriptors::of_store : descriptors::of_library);
    }
    /// Opens a session with a choice of descriptors. Opened with the library's, it changes
    /// nothing in the store. Error: ENOMEM.
    static result<session> try_open(const store &on, descriptors which) {
        kel_handle *handle = nullptr;
        const std::uint32_t status =
            kel_handle_create(on.c_store(), which == descriptors::of_store ? 1 : 0, &handle);
        if (status != 0) return detail::last_failure(status);
        return session(handle);
    }

    /// Attaches the session to the store's replication stream, and creates the stream if there is
    /// none: required of every session that inserts in armed tables. `lookup` finds a table's
    /// vector by its LUID. Errors: ENOMEM; if there is none, in a store with files, those of
    /// kel_store_lock.
    result<void> try_attach_replication(kel_table_vector_lookup lookup = tarnbase_table_get_vft) {
        const std::uint32_t status = kel_replication_attach(handle_, lookup);
        if (status != 0) return detail::last_failure(status);
        return {};
    }
#if TARN_EXCEPTIONS
    /// As try_attach_replication; throws.
    void attach_replication(kel_table_vector_lookup lookup = tarnbase_table_get_vft) {
        try_attach_replication(lookup).value();
    }
#endif

    /// Returns: if exceptions are off, the error number that ended a walk, or 0.
    std::uint32_t last_error() const noexcept { return handle_->last_error; }
    void clear_last_error() noexcept { kel_clear_last_error(handle_); }

    /// Returns: the handle, for calls of the C interface. Its `cr_tx_id` is the open
    /// transaction.
    kel_handle *c_handle() const noexcept { return handle_; }

 private:
    explicit session(kel_handle *handle) noexcept : handle_(handle) {}

    kel_handle *handle_;
};

}  // namespace tarn

#endif
