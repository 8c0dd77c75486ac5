/* SPDX-License-Identifier: Apache-2.0 */
// A replica of a store, and a model of its records that is made of what the replica reports.
#ifndef TARNBASE_TESTS_BEHAVIOUR_FOLLOWER_REPLICA_H
#define TARNBASE_TESTS_BEHAVIOUR_FOLLOWER_REPLICA_H

#include <cstdint>
#include <set>
#include <string>

#include "tarnbase/replica.h"

namespace tarn::test {

class ReplicaModel {
 public:
    explicit ReplicaModel(const char *path);
    ~ReplicaModel();
    ReplicaModel(const ReplicaModel &) = delete;
    ReplicaModel &operator=(const ReplicaModel &) = delete;

    // Applies all transactions there are. Returns what is wrong with a report, or "".
    std::string advance();
    // What the model and the store's tables have that the other one hasn't, or "".
    std::string differences() const;
    kel_store *store() const { return kel_replica_store(replica_); }

 private:
    std::string apply(const kel_replica_change &change);
    std::multiset<std::string> records() const;

    kel_replica *replica_ = nullptr;
    kel_handle *handle_ = nullptr;
    std::multiset<std::string> model_;
    std::uint64_t sequence_ = 0;
};

}  // namespace tarn::test

#endif
