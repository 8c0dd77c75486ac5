// SPDX-License-Identifier: Apache-2.0
#include "model/store.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "base/failure.h"

namespace tarnctl {
namespace {

constexpr uint32_t own_types = 0;
constexpr uint32_t store_types = 1;

// The functions of embedded.h return a status and leave a text with details.
void check(uint32_t status) {
    if (status == 0) return;
    const std::string text = kel_error_text();
    throw Failure(Exit::store, text.empty() ? std::strerror(static_cast<int>(status)) : text);
}

kel_store *opened(const std::string &path) {
    kel_store *store = nullptr;
    check(kel_store_open(path.c_str(), &store));
    return store;
}

}  // namespace

Store::Store(kel_store *store, std::string path, uint32_t store_types_enabled)
    : store_(store), path_(std::move(path)) {
    if (const uint32_t status = kel_handle_create(store, store_types_enabled, &handle_)) {
        kel_store_close(store);
        check(status);
    }
}

Store::Store(Store &&other) noexcept
    : store_(std::exchange(other.store_, nullptr)),
      handle_(std::exchange(other.handle_, nullptr)),
      path_(std::move(other.path_)) {}

Store::~Store() {
    kel_handle_destroy(handle_);
    kel_store_close(store_);
}

Store Store::open_to_read(const std::string &path) { return Store(opened(path), path, own_types); }

std::optional<Store> Store::open_if_room(const std::string &path) {
    kel_store *store = nullptr;
    const uint32_t status = kel_store_open(path.c_str(), &store);
    if (status == EADDRINUSE) return std::nullopt;
    check(status);
    return Store(store, path, own_types);
}

Store Store::open_to_write(const std::string &path) {
    Store store(opened(path), path, store_types);
    if (store.describe().transactions > 0)
        throw Failure(Exit::busy, fmt::format("{}: another process is in the middle of a "
                                              "transaction; try again when it is done",
                                              path));
    return store;
}

Store Store::create(const std::string &path, const kel_store_options &options) {
    kel_store *store = nullptr;
    check(kel_store_create(path.c_str(), &options, &store));
    return Store(store, path, store_types);
}

Store Store::scratch() {
    kel_store *store = nullptr;
    check(kel_store_create_private(nullptr, &store));
    return Store(store, "", own_types);
}

kel_store_description Store::describe() const {
    kel_store_description description{};
    kel_store_describe(store_, &description);
    return description;
}

bool Store::holds(const void *address) const {
    const kel_store_description description = describe();
    const auto first = reinterpret_cast<uintptr_t>(description.base);
    const auto place = reinterpret_cast<uintptr_t>(address);
    return place >= first && place - first < description.size;
}

Transaction::Transaction(const Store &store) : handle_(store.handle()) {
    check(kel_transaction_begin(handle_, &id_));
    open_ = true;
}

Transaction::~Transaction() {
    // Can't fail: the transaction is open.
    if (open_) kel_transaction_rollback(handle_, id_);
}

void Transaction::commit() {
    check(kel_transaction_commit(handle_, id_));
    open_ = false;
}

void Transaction::roll_back() {
    check(kel_transaction_rollback(handle_, id_));
    open_ = false;
}

}  // namespace tarnctl
