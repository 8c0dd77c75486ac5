/* SPDX-License-Identifier: Apache-2.0 */
// Mends a store, as its writer.
#ifndef TARNBASE_RUNTIME_SALVAGE_REPAIR_H
#define TARNBASE_RUNTIME_SALVAGE_REPAIR_H

#include <cstdint>

#include "tarnbase/embedded.h"

namespace tarnbase::runtime {

// As kel_store_repair. Throws std::bad_alloc.
std::uint32_t repair_store(const char *path, kel_table_vector_lookup lookup);

}  // namespace tarnbase::runtime

#endif
