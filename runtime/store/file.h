/* SPDX-License-Identifier: Apache-2.0 */
// The files of a store: a folder with a control file, a checkpoint and the log.
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

// Create or open the files of a store that was just constructed.
std::uint32_t create_files(const char *path, std::uint64_t capacity, void *base, kel_store &store);
std::uint32_t open_files(const char *path, kel_store &store);
// The same for a replica, which is what the store was after that transaction (follower.h).
std::uint32_t open_replica_files(const char *path, std::uint64_t sequence, kel_store &store);

}  // namespace tarnbase::runtime

#endif
