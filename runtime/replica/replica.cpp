// SPDX-License-Identifier: Apache-2.0
#include "runtime/replica/replica.h"

#include <cerrno>
#include <new>
#include <string>

#include "runtime/base/error_text.h"
#include "runtime/check/check.h"
#include "runtime/store/file.h"

using namespace tarnbase::runtime;

std::uint32_t kel_replica::open(const char *path, std::uint64_t sequence) {
    store_.path = path;
    if (const std::uint32_t error = open_replica_files(path, sequence, store_)) return error;
    std::string first;
    Findings findings([&](const char *text) {
        if (first.empty()) first = text;
    });
    check_roots(store_, findings);
    if (findings.count() != 0) {
        return fail(EBADMSG, "%s: the store is damaged: %s", path, first.c_str());
    }
    observer_.start();
    known_ = this->sequence();
    return 0;
}

std::uint32_t kel_replica::advance(kel_replica_transaction &transaction) {
    transaction = {};
    transaction.sequence = known_;
    if (const auto error = store_.check_not_reading("kel_replica_advance")) return error;
    if (is_lost_) return skip(transaction);
    std::uint32_t error = 0;
    try {
        error = store_.sharing->advance(observer_);
    } catch (const std::bad_alloc &) {
        is_lost_ = sequence() != known_;
        throw;
    }
    if (error == ENODATA) return fail(EAGAIN, "%s: nothing was committed", store_.path.c_str());
    if (error == ENOENT) return skip(transaction);
    if (error != 0) return error;
    known_ = transaction.sequence = sequence();
    observer_.describe(transaction);
    return 0;
}

// Goes on with the newest state.
std::uint32_t kel_replica::skip(kel_replica_transaction &transaction) {
    is_lost_ = true;
    if (const std::uint32_t error = store_.sharing->skip()) return error;
    observer_.start();
    is_lost_ = false;
    transaction.sequence = sequence();
    transaction.missed = transaction.sequence - known_;
    known_ = transaction.sequence;
    return fail(EOVERFLOW, "%s: the log doesn't contain the next %llu transactions any more",
                store_.path.c_str(), static_cast<unsigned long long>(transaction.missed));
}
