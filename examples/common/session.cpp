// SPDX-License-Identifier: Apache-2.0
#include "session.h"

#include <cstring>
#include <utility>

namespace example {
namespace {

// The functions of embedded.h answer a status and leave a text that says more.
void check(uint32_t status) {
    if (status == 0) return;
    const std::string text = kel_error_text();
    throw StoreError(text.empty() ? std::strerror(int(status)) : text);
}

}  // namespace

void need(uint32_t err, const std::string &what) {
    if (err != 0) throw StoreError(what + ": " + std::strerror(int(err)));
}

Session::Session(kel_store *store) : store_(store) {
    // Other processes read the store, perhaps of another build: the descriptors go with it.
    constexpr uint32_t store_types_enabled = 1;
    if (const uint32_t status = kel_handle_create(store, store_types_enabled, &handle_)) {
        kel_store_close(store);
        check(status);
    }
}

Session::Session(Session &&other) noexcept
    : store_(std::exchange(other.store_, nullptr)),
      handle_(std::exchange(other.handle_, nullptr)) {}

Session::~Session() {
    kel_handle_destroy(handle_);
    kel_store_close(store_);
}

Session Session::open(const std::string &path) {
    kel_store *store = nullptr;
    check(kel_store_open(path.c_str(), &store));
    return Session(store);
}

Session Session::open_or_create(const std::string &path) {
    kel_store *store = nullptr;
    check(kel_store_open_or_create(path.c_str(), nullptr, &store));
    return Session(store);
}

Session Session::create(const std::string &path) {
    kel_store *store = nullptr;
    check(kel_store_create(path.c_str(), nullptr, &store));
    return Session(store);
}

Session Session::create_private() {
    kel_store *store = nullptr;
    check(kel_store_create_private(nullptr, &store));
    return Session(store);
}

Transaction::Transaction(const Session &session) : handle_(session.handle()) {
    check(kel_transaction_begin(handle_, &id_));
    open_ = true;
}

Transaction::~Transaction() {
    // Only a transaction that isn't open can't be taken back, and this one is.
    if (open_) kel_transaction_rollback(handle_, id_);
}

void Transaction::commit() {
    check(kel_transaction_commit(handle_, id_));
    open_ = false;
}

}  // namespace example
