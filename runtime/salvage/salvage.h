/* SPDX-License-Identifier: Apache-2.0 */
// Makes a private store of what can be read of a damaged one.
#ifndef TARNBASE_RUNTIME_SALVAGE_SALVAGE_H
#define TARNBASE_RUNTIME_SALVAGE_SALVAGE_H

#include "runtime/salvage/loss.h"
#include "runtime/store/store.h"

namespace tarnbase::runtime {

// `store` was just constructed. Returns 0, or sets the error text: as kel_store_salvage. Throws
// std::bad_alloc.
std::uint32_t salvage_store(const char *path, kel_store &store, kel_table_vector_lookup lookup,
                            const ReportLoss &lost);

}  // namespace tarnbase::runtime

#endif
