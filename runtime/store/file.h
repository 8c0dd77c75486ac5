/* SPDX-License-Identifier: Apache-2.0 */
// Store files: making, checking and mapping them.
//
// Whoever has a store file open holds a shared flock(2) on it. A process that gets
// the exclusive one while it opens the file is alone: it takes back what transactions
// an ended process left open. Locks between writers are not kept here.
#ifndef TARNBASE_RUNTIME_STORE_FILE_H
#define TARNBASE_RUNTIME_STORE_FILE_H

#include <cstdint>

#include "tarnbase/embedded.h"

namespace tarn::runtime {

inline constexpr std::uint64_t default_capacity = 64ULL << 30;
inline constexpr std::uint64_t least_default_capacity = 1ULL << 30;
inline constexpr std::uint64_t least_capacity = 2ULL << 20;

// 0, or EINVAL and a text.
std::uint32_t check_options(const char *what, const kel_store_options *options);

// Make or open the file of a store that was just constructed.
std::uint32_t create_file(const char *path, std::uint64_t capacity, void *base, kel_store &store);
std::uint32_t open_file(const char *path, kel_store &store);

}  // namespace tarn::runtime

#endif
