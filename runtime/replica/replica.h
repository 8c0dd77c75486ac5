/* SPDX-License-Identifier: Apache-2.0 */
// A replica that is open.
#ifndef TARNBASE_RUNTIME_REPLICA_REPLICA_H
#define TARNBASE_RUNTIME_REPLICA_REPLICA_H

#include <cstdint>

#include "runtime/replica/changes.h"
#include "runtime/replica/one_record.h"
#include "runtime/replica/wanted.h"
#include "runtime/store/store.h"
#include "tarnbase/replica.h"

struct kel_replica {
    explicit kel_replica(kel_table_vector_lookup lookup)
        : types_(lookup), observer_(store_, types_, authors_), one_(store_, types_, authors_) {}

    // Each returns 0 or sets the error text, as the functions of tarnbase/replica.h.
    std::uint32_t open(const char *path, std::uint64_t sequence);
    std::uint32_t advance(kel_replica_transaction &transaction);
    std::uint32_t advance_wanted(tarnbase::runtime::Wanted wanted,
                                 kel_replica_transaction &transaction);
    std::uint32_t advance_record(kel_table *table, const kel_record *place,
                                 kel_replica_transaction &transaction);

    const kel_store &store() const { return store_; }
    std::uint64_t sequence() const { return store_.sharing->follower().sequence(); }

 private:
    std::uint32_t step(tarnbase::runtime::FrameObserver &observer,
                       kel_replica_transaction &transaction);
    std::uint32_t skip(kel_replica_transaction &transaction);
    std::uint32_t start_authors();
    std::uint32_t fail_schema(const tarnbase::runtime::OtherSchema &other) const;

    kel_store store_;
    tarnbase::runtime::TableTypes types_;
    tarnbase::runtime::Authors authors_;
    tarnbase::runtime::ChangeObserver observer_;
    tarnbase::runtime::RecordObserver one_;
    bool is_observed_ = false;  // by `observer_`, up to the last transaction
    // What has changed isn't known since the transaction of that number.
    bool is_lost_ = false;
    std::uint64_t known_ = 0;
};

#endif
