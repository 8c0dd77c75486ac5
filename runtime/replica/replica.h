/* SPDX-License-Identifier: Apache-2.0 */
// A replica that is open.
#ifndef TARNBASE_RUNTIME_REPLICA_REPLICA_H
#define TARNBASE_RUNTIME_REPLICA_REPLICA_H

#include <cstdint>

#include "runtime/replica/changes.h"
#include "runtime/store/store.h"
#include "tarnbase/replica.h"

struct kel_replica {
    explicit kel_replica(kel_table_vector_lookup lookup) : observer_(store_, lookup) {}

    // Each returns 0 or sets the error text, as kel_replica_open and kel_replica_advance.
    std::uint32_t open(const char *path, std::uint64_t sequence);
    std::uint32_t advance(kel_replica_transaction &transaction);

    const kel_store &store() const { return store_; }
    std::uint64_t sequence() const { return store_.sharing->follower().sequence(); }

 private:
    std::uint32_t skip(kel_replica_transaction &transaction);

    kel_store store_;
    tarnbase::runtime::ChangeObserver observer_;
    // What has changed isn't known since the transaction of that number.
    bool is_lost_ = false;
    std::uint64_t known_ = 0;
};

#endif
