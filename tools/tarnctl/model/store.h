// SPDX-License-Identifier: Apache-2.0
//
// A store with a handle on it, and a transaction. Destructors close and roll back.
#ifndef TARNCTL_MODEL_STORE_H
#define TARNCTL_MODEL_STORE_H

#include <cstdint>
#include <optional>
#include <string>

#include "tarnbase/embedded.h"

namespace tarnctl {

class Store {
 public:
    // Opens a store file to read. Opening it changes nothing in the store.
    static Store open_to_read(const std::string &path);
    // The same; none if another store of this process is mapped at the address of this one.
    static std::optional<Store> open_if_room(const std::string &path);
    // Opens a store file to write: what is made gets descriptors in the store, which all processes
    // can read. Failure `busy` while another process has a transaction open: a store has one writer
    // at a time.
    static Store open_to_write(const std::string &path);
    // `capacity` and `base` 0: the runtime chooses.
    static Store create(const std::string &path, const kel_store_options &options);
    // A copy of a store file in memory: changes don't reach the file. Fails as open_to_write.
    static Store copy_of(const std::string &path);
    // A store in memory, for keys and for records that are read from a document.
    static Store scratch();

    Store(Store &&other) noexcept;
    Store &operator=(Store &&) = delete;
    ~Store();

    kel_handle *handle() const { return handle_; }
    kel_store *store() const { return store_; }
    const std::string &path() const { return path_; }
    kel_store_description describe() const;
    // Whether `address` is in the store: a pointer that another process stored may point anywhere.
    bool holds(const void *address) const;

 private:
    Store(kel_store *store, std::string path, uint32_t store_types_enabled);

    kel_store *store_;
    kel_handle *handle_ = nullptr;
    std::string path_;
};

// A transaction, rolled back unless it is committed.
class Transaction {
 public:
    explicit Transaction(const Store &store);
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;
    ~Transaction();

    uint32_t id() const { return id_; }
    void commit();
    void roll_back();

 private:
    kel_handle *handle_;
    uint32_t id_ = KEL_TX_NONE;
    bool open_ = false;
};

// Sets the thread's tenant during a scope: records are made for it, and searches by key stay within
// it. The default is tenant 0.
class TenantScope {
 public:
    explicit TenantScope(uint16_t tenant) { kel_thread_set_tenant(tenant); }
    TenantScope(const TenantScope &) = delete;
    TenantScope &operator=(const TenantScope &) = delete;
    ~TenantScope() { kel_thread_set_tenant(0); }
};

}  // namespace tarnctl

#endif
