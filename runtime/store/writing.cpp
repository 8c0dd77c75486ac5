// SPDX-License-Identifier: Apache-2.0
// Which thread may read or change a store, and when.
#include <algorithm>
#include <cerrno>

#include "runtime/base/error_text.h"
#include "runtime/store/store.h"

using tarnbase::runtime::fail;
using tarnbase::runtime::thread_number;
using tarnbase::runtime::TransactionSlot;

std::uint32_t kel_store::check_not_reading(const char *what) const {
    if (!scopes.is_reading()) return 0;
    return fail(EDEADLK, "%s: this thread has a reading scope open", what);
}

std::uint32_t kel_store::become_writer(const char *what) {
    if (const std::uint32_t error = check_not_reading(what)) return error;
    if (thread_number == 0) tarnbase::runtime::take_thread_number();
    if (sharing != nullptr) return sharing->is_writer() ? 0 : sharing->become_writer();
    if (!writes_privately_) writes_privately_ = scopes.begin_change(-1);
    return 0;
}

std::uint32_t kel_store::stop_writing() {
    const bool stays = locks_ != 0 || has_open_transaction();
    if (sharing == nullptr) {
        if (stays || !writes_privately_) return 0;
        writes_privately_ = false;
        scopes.end_change();
        return 0;
    }
    if (!sharing->is_writer()) return 0;
    if (!stays) return sharing->give_up_writing();
    sharing->checkpoint_if_due();
    return 0;
}

std::uint32_t kel_store::lock() {
    if (const std::uint32_t error = become_writer("kel_store_lock")) return error;
    if (locks_ == 0) locking_thread_.store(thread_number, std::memory_order_relaxed);
    locks_ += 1;
    return 0;
}

std::uint32_t kel_store::unlock() {
    if (locks_ == 0) return fail(EINVAL, "kel_store_unlock: the store isn't locked");
    locks_ -= 1;
    if (locks_ == 0) locking_thread_.store(0, std::memory_order_relaxed);
    if (const std::uint32_t error = stop_writing()) return error;
    return sharing != nullptr && !sharing->is_writer() ? sharing->settle() : 0;
}

bool kel_store::is_writing_thread() const {
    const auto is_this = [](const std::atomic<std::uint32_t> &thread) {
        const std::uint32_t number = thread.load(std::memory_order_relaxed);
        return number != 0 && number == thread_number;
    };
    return is_this(locking_thread_) ||
           std::ranges::any_of(transactions_, is_this, &TransactionSlot::thread);
}

std::uint32_t kel_store::refresh() {
    if (const std::uint32_t error = check_not_reading("kel_store_refresh")) return error;
    return sharing != nullptr ? sharing->refresh() : 0;
}

std::uint32_t kel_store::begin_read(bool refreshed) {
    if (refreshed && sharing != nullptr && !scopes.is_reading()) {
        if (const std::uint32_t error = sharing->refresh()) return error;
    }
    if (scopes.try_begin_read()) return 0;
    if (is_writing_thread()) {
        scopes.begin_read_in_change();
        return 0;
    }
    // In a child process the thread that changes the store doesn't exist.
    if (sharing != nullptr) {
        if (const std::uint32_t error = sharing->check_not_inherited()) return error;
    }
    scopes.wait_and_begin_read();
    return 0;
}
