/* SPDX-License-Identifier: Apache-2.0 */
// Which variant of each type a handle deals in.
#ifndef TARNBASE_RUNTIME_VARIANT_DOMAIN_H
#define TARNBASE_RUNTIME_VARIANT_DOMAIN_H

#include <cstdint>

#include "tarnbase/handle.h"

namespace tarn::runtime {

// The variant that `domain` uses for the type: the one chosen for its LUID, else
// the type's highest. 0 without a descriptor.
std::int8_t domain_variant(const kel_variant_domain &domain, const kel_type_info *descriptor);

// Frees the choices of a handle that is going away.
void clear_variant_choices(kel_variant_domain *domain);

}  // namespace tarn::runtime

#endif
