// SPDX-License-Identifier: Apache-2.0
// Variants and modified marks. All objects have the same header, so `is_structure` and
// `is_small` make no difference.
#include "runtime/services/own.h"
#include "runtime/store/open_stores.h"
#include "runtime/store/store_handle.h"
#include "runtime/variant/domain.h"
#include "runtime/variant/instance.h"
#include "tarnbase/runtime.h"

using namespace tarnbase::runtime;

std::uint32_t kel_domain_lookup_variant(kel_handle *, kel_variant_domain *domain,
                                        const kel_type_info *descriptor, std::uint32_t *) {
    return static_cast<std::uint8_t>(domain_variant(*domain, descriptor));
}

std::int32_t kel_get_instance_variant(const void *object, std::uint32_t, std::uint32_t) {
    return instance_variant(object);
}

std::int32_t kellib_adjust_variant(kel_handle *handle, std::uint32_t tx_id, void *object,
                                   const kel_type_info *descriptor, std::int32_t top_variant,
                                   std::uint32_t *err) {
    // A change of the object begins: the library announces only a part of it.
    store_of(handle).note_block(object);
    if (*err != 0) return instance_variant(object);
    return adjust_variant(handle, tx_id, object, descriptor, top_variant);
}

std::uint32_t kel_get_instance_modified(const void *object, std::uint32_t, std::uint32_t) {
    return is_modified(object) ? 1 : 0;
}

void kel_set_instance_modified(void *object, std::uint32_t, std::uint32_t, std::uint32_t value) {
    // The library makes this store without an announcement.
    if (is_modified(object) != (value != 0)) note_object(object);
    set_modified(object, value != 0);
}

TARNBASE_OWN_NAME(kel_get_instance_variant, own_get_variant)
TARNBASE_OWN_NAME(kel_domain_lookup_variant, own_domain_lookup)
