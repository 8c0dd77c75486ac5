// SPDX-License-Identifier: Apache-2.0
#include "model/store.h"

#include <fmt/core.h>

#include <cerrno>
#include <chrono>
#include <utility>

#include "base/failure.h"

namespace tarnctl {
namespace {

using tarn::descriptors;

// How long a command waits for another writer.
constexpr std::chrono::milliseconds patience{1000};

// Where a process may not map the usual capacity.
constexpr uint64_t most_limited_scratch = 512ULL << 20;
constexpr uint64_t least_scratch = 8ULL << 20;

template <class Value>
Value checked(tarn::result<Value> result) {
    if (!result) throw Failure(Exit::store, result.error().what());
    return std::move(*result);
}

}  // namespace

Store::Store(tarn::store store, std::string path, tarn::descriptors which)
    : store_(std::move(store)),
      session_(checked(tarn::session::try_open(store_, which))),
      path_(std::move(path)) {}

Store Store::open_to_read(const std::string &path) {
    return Store(checked(tarn::store::try_open(path)), path, descriptors::of_library);
}

std::optional<Store> Store::open_if_room(const std::string &path) {
    auto store = tarn::store::try_open(path);
    if (!store && store.error().number() == EADDRINUSE) return std::nullopt;
    return Store(checked(std::move(store)), path, descriptors::of_library);
}

Store Store::open_to_write(const std::string &path) {
    Store store(checked(tarn::store::try_open(path)), path, descriptors::of_store);
    store.lock();
    return store;
}

Store Store::create(const std::string &path, const kel_store_options &options) {
    Store store(checked(tarn::store::try_create(path, options)), path, descriptors::of_store);
    store.lock();
    return store;
}

Store Store::copy_of(const std::string &path) {
    return Store(checked(tarn::store::try_open_copy(path)), path, descriptors::of_store);
}

void Store::lock() const {
    kel_store_set_lock_timeout(store(), patience.count());
    const uint32_t status = kel_store_lock(store());
    if (status != 0)
        throw Failure(status == ETIMEDOUT ? Exit::busy : Exit::store, kel_error_text());
}

void Store::publish() const {
    if (kel_store_unlock(store()) != 0) throw Failure(Exit::store, kel_error_text());
    lock();
}

void Store::refresh() const {
    auto refreshed = store_.try_refresh();
    if (!refreshed) throw Failure(Exit::store, refreshed.error().what());
}

Store Store::scratch() {
    auto store = tarn::store::try_create_private();
    for (uint64_t capacity = most_limited_scratch;
         !store && store.error().number() == ENOMEM && capacity >= least_scratch; capacity /= 2)
        store = tarn::store::try_create_private({capacity, nullptr});
    return Store(checked(std::move(store)), "", descriptors::of_library);
}

tarn::transaction Store::begin() const { return checked(tarn::transaction::try_begin(session_)); }

bool Store::holds(const void *address) const {
    const kel_store_description description = describe();
    const auto first = reinterpret_cast<uintptr_t>(description.base);
    const auto place = reinterpret_cast<uintptr_t>(address);
    return place >= first && place - first < description.size;
}

}  // namespace tarnctl
