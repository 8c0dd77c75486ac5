/* SPDX-License-Identifier: Apache-2.0 */
// Runs an operation again and again with the n-th call of each service and hook that
// it calls failing, n = 1, 2, ..., until it runs through without a failure.
#ifndef TARNBASE_TESTS_BEHAVIOUR_FAULT_SWEEP_H
#define TARNBASE_TESTS_BEHAVIOUR_FAULT_SWEEP_H

#include <cstddef>
#include <set>
#include <string>

#include "tests/behaviour/fault/operation.h"

namespace tarn::test {

struct SweepResult {
    // "<service> | <outcome of its failure>", the service being "-" for none.
    std::set<std::string> outcomes;
    std::size_t faults = 0;  // calls that were made to fail
};

// Checks that no run frees a block twice or leaves more blocks than the outcome says, and that
// rolling back a transaction restores every byte.
SweepResult sweep(const Operation &operation);

}  // namespace tarn::test

#endif
