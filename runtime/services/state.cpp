// SPDX-License-Identifier: Apache-2.0
// State tracking.
#include "runtime/handle/mappings.h"
#include "runtime/variant/instance.h"
#include "runtime/wire/items.h"

using namespace tarnbase::runtime;

std::uint32_t kellib_get_sttr_offset(kel_handle *handle, std::uint32_t, const void *object) {
    const ObjectData *entry = object_data_of(handle).find(object);
    return entry != nullptr ? entry->state_distance : 0;
}

void kellib_update_sttr_offset(kel_handle *handle, std::uint32_t tx_id, void *object,
                               std::uint32_t distance) {
    object_data_of(handle).set_state_distance({handle, tx_id}, object, distance);
}

std::uint32_t kellib_type_header_get_state_tracking_flag(const void *first_byte) {
    return has_state_bytes(first_byte) ? 1 : 0;
}

std::uint32_t kellib_validate_object_flags(const void *object, std::uint32_t, std::uint32_t) {
    return attach_error(object);
}
