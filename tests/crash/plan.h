/* SPDX-License-Identifier: Apache-2.0 */
// The random workload: rounds of operations, made from a seed and the state
// that they find.
#ifndef TESTS_CRASH_PLAN_H
#define TESTS_CRASH_PLAN_H

#include "tests/crash/model.h"

namespace crash {

// Makes and opens everything that the other rounds use.
Round opening_round();
// A round of one transaction, usual or large, of two that are open together, of
// a change outside of transactions, a table that is made or dropped, or a
// checkpoint.
Round random_round(const State &state, std::uint64_t seed);

// A random number of a sequence, for seeds of seeds.
std::uint64_t mix(std::uint64_t seed, std::uint64_t position);

}  // namespace crash

#endif
