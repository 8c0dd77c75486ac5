/* SPDX-License-Identifier: Apache-2.0 */
// Which variant of each type a handle uses.
#ifndef TARNBASE_RUNTIME_VARIANT_DOMAIN_H
#define TARNBASE_RUNTIME_VARIANT_DOMAIN_H

#include <cstdint>

#include "tarnbase/handle.h"

namespace tarnbase::runtime {

// The variant that `domain` uses for the type: the one chosen for its LUID, otherwise
// the type's highest. 0 without a descriptor.
std::int8_t domain_variant(const kel_variant_domain &domain, const kel_type_info *descriptor);

// Raises an object's variant to the handle's, but not above `top_variant`. Returns the
// object's variant; 0 for a null object.
std::int32_t adjust_variant(kel_handle *handle, std::uint32_t tx_id, void *object,
                            const kel_type_info *descriptor, std::int32_t top_variant);

// Chooses the variant of a type. Throws std::bad_alloc.
void choose_variant(kel_variant_domain &domain, const kel_type_info &descriptor,
                    std::int8_t variant);
// Frees the choices, when the handle is destroyed.
void clear_variant_choices(kel_variant_domain &domain);

}  // namespace tarnbase::runtime

#endif
