// SPDX-License-Identifier: Apache-2.0
//
// Replicas of a store at moments of its history.
#ifndef TARNCTL_MODEL_REPLICA_H
#define TARNCTL_MODEL_REPLICA_H

#include <cstdint>
#include <optional>
#include <string>

#include "base/moment.h"
#include "tarnbase/tarn/replica.hpp"

namespace tarnctl {

// As the store was after the transaction `sequence`. Failure `difference` if that isn't kept, else
// `store`.
tarn::replica open_replica(const std::string &path, uint64_t sequence);
// As the store was at a moment. Failure `usage` if that isn't past, and as above.
tarn::replica open_replica(const std::string &path, const Moment &at);
// The same; none if another store of this process is mapped at the address of this one.
std::optional<tarn::replica> open_replica_if_room(const std::string &path, const Moment &at);

// The first transaction at a moment or after it, as far as transactions are kept: 1 if the moment
// is before that. Failure `store`.
uint64_t first_transaction(const std::string &path, const Moment &from);
// The last one at a moment or before it; 0 if the moment is before all that is kept.
uint64_t last_transaction(const std::string &path, const Moment &until);
// As the store was before `from`, or as far back as it is kept; none: as far as that.
tarn::replica open_replica_before(const std::string &path, const std::optional<Moment> &from);

}  // namespace tarnctl

#endif
