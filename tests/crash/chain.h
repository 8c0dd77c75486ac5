/* SPDX-License-Identifier: Apache-2.0 */
// A chain of processes that are killed one after another while they work on one store.
#ifndef TESTS_CRASH_CHAIN_H
#define TESTS_CRASH_CHAIN_H

#include <cstdint>
#include <string>
#include <vector>

#include "tests/crash/link.h"

namespace crash {

struct Chain {
    std::uint64_t seed;
    std::vector<Kill> kills;
};

struct Result {
    std::uint64_t kills = 0;   // processes that were killed
    std::uint64_t points = 0;  // of the first process, if it wasn't killed
    std::size_t failed_link = 0;
    std::string failure;  // empty: none
};

// Runs a chain in an empty folder of its own.
Result run(const Chain &chain, const std::string &folder);

// The kills that a seed chooses.
std::vector<Kill> random_kills(std::uint64_t seed);

}  // namespace crash

#endif
