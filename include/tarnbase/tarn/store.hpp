// SPDX-License-Identifier: Apache-2.0
/// @file
/// A store: a folder with files, or private memory, that contains tables.
#ifndef TARNBASE_TARN_STORE_HPP
#define TARNBASE_TARN_STORE_HPP

#include <cerrno>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tarnbase/tarn/result.hpp"

namespace tarn {

/// Owns a mapped store. Move-only. A store with files is shared: one process at a time changes
/// it, in a transaction, and each sees what others have committed when it refreshes.
/// Lifetime: it must outlive its sessions.
class store {
 public:
    store(store &&other) noexcept
        : store_(std::exchange(other.store_, nullptr)), has_path_(other.has_path_) {}
    store &operator=(store &&other) noexcept {
        std::swap(store_, other.store_);
        std::swap(has_path_, other.has_path_);
        return *this;
    }
    ~store() { kel_store_close(store_); }

    /// Creates a store with files. Errors: EEXIST the path exists; as kel_store_create.
    static result<store> try_create(const std::string &path,
                                    const kel_store_options &options = {}) {
        kel_store *made = nullptr;
        return wrap(kel_store_create(path.c_str(), &options, &made), made);
    }
    /// Opens a store with files. Errors: ENOENT there is none; as kel_store_open.
    static result<store> try_open(const std::string &path) {
        kel_store *made = nullptr;
        return wrap(kel_store_open(path.c_str(), &made), made);
    }
    /// Opens a private copy of a store with files: its changes stay in this process.
    /// Errors: as kel_store_open.
    static result<store> try_open_copy(const std::string &path) {
        kel_store *made = nullptr;
        return wrap(kel_store_open_copy(path.c_str(), &made), made);
    }
    /// Opens a store with files, or creates it if it doesn't exist.
    static result<store> try_open_or_create(const std::string &path,
                                            const kel_store_options &options = {}) {
        kel_store *made = nullptr;
        return wrap(kel_store_open_or_create(path.c_str(), &options, &made), made);
    }
    /// Creates a store in this process's memory. It is lost when the object is destroyed.
    static result<store> try_create_private(const kel_store_options &options = {}) {
        kel_store *made = nullptr;
        return wrap(kel_store_create_private(&options, &made), made);
    }
    /// Makes a private store of what can be read of a damaged one; `report` is called with each
    /// loss. Errors: EBADMSG nothing can be read; as kel_store_salvage.
    static result<store> try_salvage(const std::string &path, kel_table_vector_lookup lookup,
                                     kel_salvage_report report, void *context) {
        kel_store *made = nullptr;
        return wrap(kel_store_salvage(path.c_str(), lookup, report, context, &made), made);
    }

#if TARN_EXCEPTIONS
    /// As try_create; throws.
    static store create(const std::string &path, const kel_store_options &options = {}) {
        return try_create(path, options).value();
    }
    /// As try_open; throws.
    static store open(const std::string &path) { return try_open(path).value(); }
    /// As try_open_copy; throws.
    static store open_copy(const std::string &path) { return try_open_copy(path).value(); }
    /// As try_open_or_create; throws.
    static store open_or_create(const std::string &path, const kel_store_options &options = {}) {
        return try_open_or_create(path, options).value();
    }
    /// As try_create_private; throws.
    static store create_private(const kel_store_options &options = {}) {
        return try_create_private(options).value();
    }
    /// As try_refresh; throws.
    void refresh() { try_refresh().value(); }
    /// As try_compact; throws.
    void compact() { try_compact().value(); }
    /// As try_back_up; throws.
    void back_up(const std::string &path) const { try_back_up(path).value(); }
    /// As try_wait; throws.
    bool wait(std::int64_t milliseconds) const { return try_wait(milliseconds).value(); }
#endif

    /// Brings the store up to date with what other processes have committed. Records and texts
    /// that they deleted are no longer valid. A transaction begins with this by itself.
    /// Errors: EBADMSG the store is damaged; as kel_store_refresh.
    result<void> try_refresh() {
        const std::uint32_t status = kel_store_refresh(store_);
        if (status != 0) return detail::last_failure(status);
        return {};
    }
    /// Waits until another process has committed something new. Returns: whether it has, within
    /// `milliseconds`; negative: without limit. Error: EINVAL the store is private.
    result<bool> try_wait(std::int64_t milliseconds) const {
        const std::uint32_t status = kel_store_wait(store_, milliseconds);
        if (status != 0 && status != ETIMEDOUT) return detail::last_failure(status);
        return status == 0;
    }
    /// Makes the store's files as short as they can be, while other processes use it.
    /// Errors: as kel_store_compact.
    result<void> try_compact() {
        const std::uint32_t status = kel_store_compact(store_);
        if (status != 0) return detail::last_failure(status);
        return {};
    }
    /// Makes a store of the name `path` with what is committed now; nobody waits.
    /// Errors: EEXIST the path exists; as kel_store_backup.
    result<void> try_back_up(const std::string &path) const {
        const std::uint32_t status = kel_store_backup(store_, path.c_str());
        if (status != 0) return detail::last_failure(status);
        return {};
    }
    /// Sets how long transactions wait for another process's; negative: without limit.
    void set_lock_timeout(std::int64_t milliseconds) noexcept {
        kel_store_set_lock_timeout(store_, milliseconds);
    }

    /// Returns: sizes and counts. The path of a private store is null. Requires: no other thread
    /// changes or refreshes the store meanwhile; a snapshot ensures that.
    kel_store_description describe() const noexcept {
        kel_store_description description = {};
        kel_store_describe(store_, &description);
        return description;
    }

    /// Returns: whether the store, or the one of which it is a copy, has files.
    bool has_path() const noexcept { return has_path_; }

    /// Returns: the tables of the store, of all kinds, in the order of their creation.
    std::vector<kel_table *> tables() const {
        std::vector<kel_table *> all;
        for (kel_table *table = kel_store_first_table(store_); table != nullptr;
             table = table->toc_next)
            all.push_back(table);
        return all;
    }

    /// Returns: the store, for calls of the C interface.
    kel_store *c_store() const noexcept { return store_; }

 private:
    friend class replica;

    explicit store(kel_store *made) noexcept
        : store_(made), has_path_(describe().path != nullptr) {}
    // By reference: `made` is read after the call that returns `status` and sets it.
    static result<store> wrap(std::uint32_t status, kel_store *&made) {
        if (status != 0) return detail::last_failure(status);
        return store(made);
    }

    kel_store *store_;
    bool has_path_;
};

}  // namespace tarn

#endif
