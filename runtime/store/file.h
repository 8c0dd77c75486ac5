/* SPDX-License-Identifier: Apache-2.0 */
// Store files: creating, checking and mapping them.
//
// A process holds a shared flock(2) on each store file that it has open. One that gets the
// exclusive lock while it opens the file is alone and recovers the transactions that an
// ended process left open. There is no lock between writers.
#ifndef TARNBASE_RUNTIME_STORE_FILE_H
#define TARNBASE_RUNTIME_STORE_FILE_H

#include <cstdint>

#include "tarnbase/embedded.h"

namespace tarnbase::runtime {

inline constexpr std::uint64_t default_capacity = 64ULL << 30;
inline constexpr std::uint64_t least_default_capacity = 1ULL << 30;
inline constexpr std::uint64_t least_capacity = 2ULL << 20;

// Returns 0, or EINVAL and sets the error text.
std::uint32_t check_options(const char *what, const kel_store_options *options);

// Create or open the file of a store that was just constructed.
std::uint32_t create_file(const char *path, std::uint64_t capacity, void *base, kel_store &store);
std::uint32_t open_file(const char *path, kel_store &store);

}  // namespace tarnbase::runtime

#endif
