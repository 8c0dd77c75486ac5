/* SPDX-License-Identifier: Apache-2.0 */
// A store's own copies of the descriptors, reached through the handle's type map hooks.
#ifndef TARNBASE_RUNTIME_CATALOG_DESCRIPTOR_COPY_H
#define TARNBASE_RUNTIME_CATALOG_DESCRIPTOR_COPY_H

#include <cstdint>

#include "tarnbase/runtime.h"

namespace tarnbase::runtime {

// The store's copy of `constant`, made by `initializer` if there is none yet, or `constant`.
const kel_type_info *descriptor_copy(kel_handle *handle, std::uint32_t tx_id,
                                     const kel_type_info *constant,
                                     kel_type_info_initializer initializer);
// Adds to `copy` the variants of `constant` that it lacks.
void update_variants(kel_handle *handle, kel_type_info_copy *copy, const kel_type_info *constant,
                     bool is_new);

}  // namespace tarnbase::runtime

#endif
