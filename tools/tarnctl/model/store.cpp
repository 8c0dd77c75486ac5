// SPDX-License-Identifier: Apache-2.0
#include "model/store.h"

#include <fmt/core.h>

#include <algorithm>
#include <cerrno>
#include <iostream>
#include <utility>

#include "base/failure.h"
#include "base/time.h"
#include "model/replica.h"
#include "model/writer.h"
#include "tarnbase/module.h"

namespace tarnctl {
namespace {

using tarn::descriptors;

using std::chrono::milliseconds;

// How long a command waits for another writer before it says so.
constexpr milliseconds silence{1000};

milliseconds milliseconds_of(double seconds) {
    return std::chrono::ceil<milliseconds>(std::chrono::duration<double>(seconds));
}

void say_for_whom(const Store &store) {
    const auto writer = writer_of(store.store());
    if (!writer) return;
    const std::string since =
        writer->since == 0 ? "" : fmt::format(" since {}", local_time(writer->since));
    std::cerr << fmt::format("tarnctl: waiting for {}, the writer{}\n", name_of(*writer), since);
}

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

Store::Store(std::unique_ptr<tarn::replica> replica, std::string path)
    : replica_(std::move(replica)),
      store_(replica_->store()),
      session_(checked(tarn::session::try_open(store_, descriptors::of_library))),
      path_(std::move(path)) {}

Store Store::open_to_read(const std::string &path, const std::optional<Moment> &at) {
    if (!at) return open_to_read(path);
    return Store(std::make_unique<tarn::replica>(open_replica(path, *at)), path);
}

std::optional<Store> Store::open_if_room(const std::string &path, const std::optional<Moment> &at) {
    if (at) {
        std::optional<tarn::replica> replica = open_replica_if_room(path, *at);
        if (!replica) return std::nullopt;
        return Store(std::make_unique<tarn::replica>(std::move(*replica)), path);
    }
    auto store = tarn::store::try_open(path);
    if (!store && store.error().number() == EADDRINUSE) return std::nullopt;
    return Store(checked(std::move(store)), path, descriptors::of_library);
}

Store Store::open_to_write(const std::string &path, double wait) {
    Store store(checked(tarn::store::try_open(path)), path, descriptors::of_store);
    store.wait_ = milliseconds_of(wait);
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

Store Store::of_replica(const tarn::replica &replica, const std::string &path) {
    return Store(replica.store(), path, descriptors::of_library);
}

Store Store::salvaged_of(const std::string &path, kel_salvage_report report, void *context) {
    auto store = tarn::store::try_salvage(path, tarnbase_table_get_vft, report, context);
    if (!store && store.error().number() == EBADMSG)
        throw Failure(Exit::data, store.error().what());
    return Store(checked(std::move(store)), path, descriptors::of_library);
}

// Calls a function of the runtime that waits until this process is the writer.
void Store::wait_for_writer(uint32_t (*call)(kel_store *)) const {
    const milliseconds silent = std::min(wait_, silence);
    kel_store_set_lock_timeout(store(), silent.count());
    uint32_t status = call(store());
    if ((status == ETIMEDOUT || status == EBUSY) && wait_ > silent) {
        say_for_whom(*this);
        kel_store_set_lock_timeout(store(), (wait_ - silent).count());
        status = call(store());
    }
    if (status == 0) return;
    const bool busy = status == ETIMEDOUT || status == EBUSY;
    throw Failure(busy ? Exit::busy : Exit::store, kel_error_text());
}

void Store::lock() const { wait_for_writer(kel_store_lock); }

void Store::compact(double wait) const {
    wait_ = milliseconds_of(wait);
    wait_for_writer(kel_store_compact);
}

void Store::back_up(const std::string &path) const {
    auto done = store_.try_back_up(path);
    if (!done) throw Failure(Exit::store, done.error().what());
}

bool Store::wait(std::chrono::milliseconds limit) const {
    return checked(store_.try_wait(limit.count()));
}

void Store::publish() const {
    if (kel_store_unlock(store()) != 0) throw Failure(Exit::store, kel_error_text());
    lock();
}

kel_store_files Store::files() const {
    kel_store_files files{};
    if (kel_store_describe_files(store(), &files) != 0)
        throw Failure(Exit::store, kel_error_text());
    return files;
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
    const auto place = reinterpret_cast<uintptr_t>(address);
    if (place - first_ < size_) return true;
    const kel_store_description description = describe();
    first_ = reinterpret_cast<uintptr_t>(description.base);
    size_ = description.size;
    return place - first_ < size_;
}

}  // namespace tarnctl
