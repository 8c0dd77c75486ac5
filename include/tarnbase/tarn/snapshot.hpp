// SPDX-License-Identifier: Apache-2.0
/// @file
/// A snapshot: a store as it is at a moment, for one thread to read.
#ifndef TARNBASE_TARN_SNAPSHOT_HPP
#define TARNBASE_TARN_SNAPSHOT_HPP

#include "tarnbase/tarn/session.hpp"

namespace tarn {

/// Refreshes a store and keeps it as it is: while the snapshot exists, what `find`, iterators and
/// ranges of any of the store's tables return doesn't change and stays valid, whatever other
/// threads and processes commit. Move-only. Use and destroy it in the thread that took it.
///
/// A thread that has a snapshot can't begin a transaction; threads that begin one, or refresh,
/// wait until it is destroyed, so keep it short in a process that has several threads. Snapshots of
/// a thread may nest, and an inner one is of the same moment. Within a transaction of its own
/// thread, a snapshot shows the transaction's changes.
/// Lifetime: its store's.
class snapshot {
 public:
#if TARN_EXCEPTIONS
    explicit snapshot(const store &of) : snapshot(try_take(of).value()) {}
    explicit snapshot(const session &in) : snapshot(try_take(in).value()) {}
#endif
    snapshot(snapshot &&other) noexcept : store_(std::exchange(other.store_, nullptr)) {}
    snapshot &operator=(snapshot &&other) noexcept {
        std::swap(store_, other.store_);
        return *this;
    }
    ~snapshot() {
        if (store_ != nullptr) kel_store_end_read(store_);
    }

    /// Takes a snapshot. It waits for the end of a transaction that another thread of the process
    /// has open. Errors: EBADMSG the store is damaged; as kel_store_begin_read.
    static result<snapshot> try_take(const store &of) { return take(of.c_store()); }
    /// Takes a snapshot of the session's store.
    static result<snapshot> try_take(const session &in) {
        return take(kel_handle_store(in.c_handle()));
    }

 private:
    explicit snapshot(kel_store *of) noexcept : store_(of) {}

    static result<snapshot> take(kel_store *of) {
        constexpr std::uint32_t refresh = 1;
        const std::uint32_t status = kel_store_begin_read(of, refresh);
        if (status != 0) return detail::last_failure(status);
        return snapshot(of);
    }

    kel_store *store_;
};

}  // namespace tarn

#endif
