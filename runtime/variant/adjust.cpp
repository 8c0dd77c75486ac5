// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstdint>

#include "runtime/base/errors.h"
#include "runtime/variant/domain.h"

std::int32_t kellib_adjust_variant(kel_handle *handle, std::uint32_t tx_id, void *object,
                                   const kel_type_info *descriptor, std::int32_t top_variant,
                                   std::uint32_t *err) {
    using namespace tarn::runtime;
    if (object == nullptr) return 0;
    std::int8_t &variant = static_cast<kel_object *>(object)->variant;
    if (*err != 0 || descriptor == nullptr) return variant;
    // An instance is never lowered: its fields of later variants hold values.
    const std::int32_t wanted =
        std::min<std::int32_t>(domain_variant(handle->variant_domain, descriptor), top_variant);
    if (wanted > variant) {
        announced_set(handle, tx_id, variant, static_cast<std::int8_t>(wanted));
    }
    return variant;
}
