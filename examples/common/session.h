// SPDX-License-Identifier: Apache-2.0
//
// A program's session with a store: the store, a handle on it, and transactions, each given back
// by its destructor. Failures are thrown as StoreError.
#ifndef EXAMPLES_COMMON_SESSION_H
#define EXAMPLES_COMMON_SESSION_H

#include <cstdint>
#include <stdexcept>
#include <string>

#include "tarnbase/embedded.h"

namespace example {

class StoreError : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

// Throws if `err`, an errno number that an operation left, isn't 0.
void need(uint32_t err, const std::string &what);

class Session {
 public:
    static Session open(const std::string &path);
    static Session open_or_create(const std::string &path);
    static Session create(const std::string &path);
    static Session create_private();
    Session(Session &&other) noexcept;
    Session &operator=(Session &&) = delete;
    ~Session();

    kel_handle *handle() const { return handle_; }
    kel_store *store() const { return store_; }

 private:
    // Takes the store over.
    explicit Session(kel_store *store);

    kel_store *store_;
    kel_handle *handle_ = nullptr;
};

// One transaction, taken back unless it was committed.
class Transaction {
 public:
    explicit Transaction(const Session &session);
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;
    ~Transaction();

    uint32_t id() const { return id_; }
    void commit();

 private:
    kel_handle *handle_;
    uint32_t id_ = KEL_TX_NONE;
    bool open_ = false;
};

}  // namespace example

#endif
