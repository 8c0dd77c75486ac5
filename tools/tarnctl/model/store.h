// SPDX-License-Identifier: Apache-2.0
//
// A store with a session on it.
#ifndef TARNCTL_MODEL_STORE_H
#define TARNCTL_MODEL_STORE_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/moment.h"
#include "tarnbase/tarn/replica.hpp"
#include "tarnbase/tarn/tenant.hpp"
#include "tarnbase/tarn/transaction.hpp"

namespace tarnctl {

class Store {
 public:
    // Opens a store to read. Opening it changes nothing in the store.
    static Store open_to_read(const std::string &path);
    // The same, as the store was at a moment, if there is one. Failure `difference` if that isn't
    // kept, `usage` if it isn't past.
    static Store open_to_read(const std::string &path, const std::optional<Moment> &at);
    // The same; none if another store of this process is mapped at the address of this one.
    static std::optional<Store> open_if_room(const std::string &path,
                                             const std::optional<Moment> &at);
    // Opens a store to write, as its only writer until it is closed: what is made gets descriptors
    // in the store, which all processes can read. Failure `busy` if another process stays the
    // writer for `wait` seconds.
    static Store open_to_write(const std::string &path, double wait);
    // `capacity` and `base` 0: the runtime chooses.
    static Store create(const std::string &path, const kel_store_options &options);
    // A copy of a store in memory: its changes don't reach the store.
    static Store copy_of(const std::string &path);
    // The store of a replica, which must outlive it.
    static Store of_replica(const tarn::replica &replica, const std::string &path);
    // What can be read of a damaged store, in memory; `report` is called with each loss. Failure
    // `data` if nothing can be read, else `store`.
    static Store salvaged_of(const std::string &path, kel_salvage_report report, void *context);
    // A store in memory, for keys and for records that are read from a document.
    static Store scratch();

    tarn::session &session() const { return session_; }
    kel_handle *handle() const { return session_.c_handle(); }
    kel_store *store() const { return store_.c_store(); }
    const std::string &path() const { return path_; }
    kel_store_description describe() const { return store_.describe(); }
    std::vector<kel_table *> tables() const { return store_.tables(); }
    // What its files take. Failure `store`.
    kel_store_files files() const;
    // Begins a transaction. Failure `store`.
    tarn::transaction begin() const;
    // Shows other processes what was changed outside of transactions. Failure `store`.
    void publish() const;
    // Brings a store that is open to read up to date. Failure `store`.
    void refresh() const;
    // Returns space to the file system. Failures `busy`, as above, and `store`.
    void compact(double wait) const;
    // Makes a store of this name with what is committed. Failure `store`.
    void back_up(const std::string &path) const;
    // Waits until another process has committed something new; negative: without limit. False:
    // the time is over, or a signal came.
    bool wait(std::chrono::milliseconds limit) const;
    // Whether `address` is in the store: a pointer that another process stored may point anywhere.
    bool holds(const void *address) const;

 private:
    Store(tarn::store store, std::string path, tarn::descriptors descriptors);
    explicit Store(std::unique_ptr<tarn::replica> replica, std::string path);
    void lock() const;
    void wait_for_writer(uint32_t (*call)(kel_store *)) const;

    std::unique_ptr<tarn::replica> replica_;  // of which the store is, or null
    mutable tarn::store store_;
    mutable tarn::session session_;  // a transaction of a const Store changes it
    std::string path_;
    mutable std::chrono::milliseconds wait_{0};  // for another writer
    // The store's range when it was described last: it may have grown.
    mutable uintptr_t first_ = 0;
    mutable uint64_t size_ = 0;
};

}  // namespace tarnctl

#endif
