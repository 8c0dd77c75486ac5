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
    known_ = this->sequence();
    return start_authors();
}

std::uint32_t kel_replica::start_authors() try {
    authors_.start(store_.sharing->folder(), store_.sharing->follower());
    return 0;
} catch (const OtherSchema &other) {
    return fail_schema(other);
}

std::uint32_t kel_replica::fail_schema(const OtherSchema &other) const {
    return fail(EPROTO,
                "%s: transaction %llu was written with another schema of %s. A program with that "
                "schema can read it",
                store_.path.c_str(), static_cast<unsigned long long>(other.sequence),
                other.module.c_str());
}

std::uint32_t kel_replica::advance(kel_replica_transaction &transaction) {
    transaction = {};
    transaction.sequence = known_;
    if (const auto error = store_.check_not_reading("kel_replica_advance")) return error;
    if (is_lost_) return skip(transaction);
    if (!is_observed_) observer_.start();
    is_observed_ = true;
    if (const std::uint32_t error = step(observer_, transaction)) return error;
    authors_.describe(transaction);
    observer_.describe(transaction);
    return 0;
}

std::uint32_t kel_replica::advance_wanted(Wanted wanted, kel_replica_transaction &transaction) {
    transaction = {};
    transaction.sequence = known_;
    if (const auto error = store_.check_not_reading("kel_replica_advance_wanted")) return error;
    if (is_lost_) return skip(transaction);
    WantedObserver observer(store_, authors_, observer_, wanted, is_observed_);
    while (!observer.has_found()) {
        if (const std::uint32_t error = step(observer, transaction)) return error;
    }
    authors_.describe(transaction);
    observer_.describe(transaction);
    return 0;
}

std::uint32_t kel_replica::advance_record(kel_table *table, const kel_record *place,
                                          kel_replica_transaction &transaction) {
    transaction = {};
    transaction.sequence = known_;
    if (const auto error = store_.check_not_reading("kel_replica_advance_record")) return error;
    if (is_lost_) return skip(transaction);
    if (!one_.start(table, place)) {
        return fail(ENOENT, "%s: it has no such table", store_.path.c_str());
    }
    is_observed_ = false;
    while (!one_.has_changed()) {
        if (const std::uint32_t error = step(one_, transaction)) return error;
        if (one_.has_freed_table() && !one_.has_changed()) {
            return fail(ENOENT, "%s: the table was freed", store_.path.c_str());
        }
    }
    authors_.describe(transaction);
    one_.describe(transaction);
    return 0;
}

// Applies one transaction, or skips those that are gone.
std::uint32_t kel_replica::step(FrameObserver &observer, kel_replica_transaction &transaction) {
    std::uint32_t error = 0;
    try {
        error = store_.sharing->advance(observer);
    } catch (const OtherSchema &other) {
        return fail_schema(other);
    } catch (const std::bad_alloc &) {
        is_lost_ = sequence() != known_;
        throw;
    }
    if (error == ENODATA) return fail(EAGAIN, "%s: nothing was committed", store_.path.c_str());
    if (error == ENOENT) return skip(transaction);
    if (error == 0) known_ = transaction.sequence = sequence();
    return error;
}

// Goes on with the newest state.
std::uint32_t kel_replica::skip(kel_replica_transaction &transaction) {
    is_lost_ = true;
    if (const std::uint32_t error = store_.sharing->skip()) return error;
    is_observed_ = false;
    if (const std::uint32_t error = start_authors()) return error;
    is_lost_ = false;
    transaction.sequence = sequence();
    transaction.missed = transaction.sequence - known_;
    known_ = transaction.sequence;
    return fail(EOVERFLOW, "%s: the log doesn't contain the next %llu transactions any more",
                store_.path.c_str(), static_cast<unsigned long long>(transaction.missed));
}
