/* SPDX-License-Identifier: Apache-2.0 */
// Times of a store's history.
#ifndef TARNBASE_RUNTIME_STORE_MOMENTS_H
#define TARNBASE_RUNTIME_STORE_MOMENTS_H

#include <cstdint>

namespace tarnbase::runtime {

// Finds the last transaction that was committed at `time` or before. Returns 0 or sets the error
// text, as kel_replica_sequence_at.
std::uint32_t sequence_at(const char *path, std::uint64_t time, std::uint64_t &sequence);

}  // namespace tarnbase::runtime

#endif
