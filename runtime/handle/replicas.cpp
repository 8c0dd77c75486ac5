// SPDX-License-Identifier: Apache-2.0
#include <cerrno>
#include <exception>
#include <memory>
#include <new>

#include "runtime/base/error_text.h"
#include "runtime/replica/replica.h"
#include "runtime/store/moments.h"

using tarnbase::runtime::fail;

std::uint32_t kel_replica_open(const char *path, kel_table_vector_lookup lookup,
                               std::uint64_t sequence, kel_replica **replica) {
    *replica = nullptr;
    if (lookup == nullptr) return fail(EINVAL, "%s: a replica needs a lookup of tables", path);
    try {
        auto made = std::make_unique<kel_replica>(lookup);
        if (const std::uint32_t error = made->open(path, sequence)) return error;
        *replica = made.release();
        return 0;
    } catch (const std::bad_alloc &) {
        return fail(ENOMEM, "%s: no memory", path);
    } catch (const std::exception &failure) {
        return fail(EIO, "%s: %s", path, failure.what());
    }
}

void kel_replica_close(kel_replica *replica) { delete replica; }

kel_store *kel_replica_store(const kel_replica *replica) {
    return const_cast<kel_store *>(&replica->store());
}

std::uint64_t kel_replica_sequence(const kel_replica *replica) { return replica->sequence(); }

std::uint32_t kel_replica_advance(kel_replica *replica, kel_replica_transaction *transaction) {
    try {
        return replica->advance(*transaction);
    } catch (const std::bad_alloc &) {
        return fail(ENOMEM, "kel_replica_advance: no memory");
    }
}

std::uint32_t kel_replica_advance_record(kel_replica *replica, kel_table *table,
                                         const kel_record *place,
                                         kel_replica_transaction *transaction) {
    try {
        return replica->advance_record(table, place, *transaction);
    } catch (const std::bad_alloc &) {
        return fail(ENOMEM, "kel_replica_advance_record: no memory");
    }
}

std::uint32_t kel_replica_advance_wanted(kel_replica *replica, kel_replica_filter wanted,
                                         void *context, kel_replica_transaction *transaction) {
    try {
        return replica->advance_wanted({wanted, context}, *transaction);
    } catch (const std::bad_alloc &) {
        return fail(ENOMEM, "kel_replica_advance_wanted: no memory");
    }
}

std::uint32_t kel_replica_sequence_at(const char *path, std::uint64_t time,
                                      std::uint64_t *sequence) {
    *sequence = 0;
    try {
        return tarnbase::runtime::sequence_at(path, time, *sequence);
    } catch (const std::bad_alloc &) {
        return fail(ENOMEM, "%s: no memory", path);
    } catch (const std::exception &failure) {
        return fail(EIO, "%s: %s", path, failure.what());
    }
}
