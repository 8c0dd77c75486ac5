// SPDX-License-Identifier: Apache-2.0
//
// A store and a handle on it, and a transaction, each given back by its destructor.
#ifndef TARNCTL_MODEL_STORE_H
#define TARNCTL_MODEL_STORE_H

#include <cstdint>
#include <optional>
#include <string>

#include "tarnbase/embedded.h"

namespace tarnctl {

class Store {
 public:
    // Opens a store file. To read: nothing in the store is changed by the opening.
    static Store open_to_read(const std::string &path);
    // The same; none if another store of this process lies where this one has its place.
    static std::optional<Store> open_if_room(const std::string &path);
    // To write: what is made in it gets the store's own descriptors, which all processes can
    // read. Refused while another process has a transaction open: one at a time changes a store.
    static Store open_to_write(const std::string &path);
    // `capacity` and `base` 0: the runtime chooses.
    static Store create(const std::string &path, const kel_store_options &options);
    // A copy of a store file, in memory and gone with the Store: what is done to it leaves the file
    // as it is. Refused like open_to_write.
    static Store copy_of(const std::string &path);
    // A store in memory, for objects that belong in no file: keys, what is read from a document.
    static Store scratch();

    Store(Store &&other) noexcept;
    Store &operator=(Store &&) = delete;
    ~Store();

    kel_handle *handle() const { return handle_; }
    kel_store *store() const { return store_; }
    const std::string &path() const { return path_; }
    kel_store_description describe() const;
    // Whether the bytes at `address` lie in the store: a pointer that another process left there
    // may point anywhere.
    bool holds(const void *address) const;

 private:
    Store(kel_store *store, std::string path, uint32_t store_types_enabled);

    kel_store *store_;
    kel_handle *handle_ = nullptr;
    std::string path_;
};

// One transaction, taken back unless it is committed.
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

// Makes the thread a tenant's for a scope: records that are made then are the tenant's, and
// reading by key stays within it. Tenant 0 is the one of a thread that said nothing.
class TenantScope {
 public:
    explicit TenantScope(uint16_t tenant) { kel_thread_set_tenant(tenant); }
    TenantScope(const TenantScope &) = delete;
    TenantScope &operator=(const TenantScope &) = delete;
    ~TenantScope() { kel_thread_set_tenant(0); }
};

}  // namespace tarnctl

#endif
