/* SPDX-License-Identifier: Apache-2.0 */
// The files of a store as a whole: a copy of them, and what they take.
#ifndef TARNBASE_RUNTIME_STORE_STORE_FILES_H
#define TARNBASE_RUNTIME_STORE_STORE_FILES_H

#include <cstdint>

#include "runtime/store/follower.h"
#include "tarnbase/embedded.h"

namespace tarnbase::runtime {

// Each returns 0, or sets the error text. `size` is the store's, as far as it is known.
std::uint32_t back_up(StoreFolder &store, std::uint64_t size, const char *path);
std::uint32_t describe_files(const StoreFolder &store, kel_store_files &files);

}  // namespace tarnbase::runtime

#endif
