// SPDX-License-Identifier: Apache-2.0
// What an instance says of itself, in its header. All instances have the same
// header, so that `is_structure` and `is_small` make no difference here.
//
// The modified mark is a bit of the flags that the library leaves alone. It isn't
// logged, since its services get no handle, and no one else is shown it.
#include <cstdint>

#include "runtime/base/errors.h"

namespace {

const kel_object *header(const void *object) { return static_cast<const kel_object *>(object); }

}  // namespace

std::int32_t kel_get_instance_variant(const void *object, std::uint32_t, std::uint32_t) {
    return object == nullptr ? 0 : header(object)->variant;
}

std::uint8_t kel_get_instance_obj_flag(const void *object, std::uint32_t, std::uint32_t) {
    if (object == nullptr) return 0;
    return static_cast<std::uint8_t>(header(object)->flags & ~OBJ_MODIFIED);
}

std::uint32_t kel_get_instance_modified(const void *object, std::uint32_t, std::uint32_t) {
    return object != nullptr && (header(object)->flags & OBJ_MODIFIED) != 0 ? 1 : 0;
}

void kel_set_instance_modified(void *object, std::uint32_t, std::uint32_t, std::uint32_t value) {
    if (object == nullptr) return;
    std::uint8_t &flags = static_cast<kel_object *>(object)->flags;
    const unsigned others = flags & ~OBJ_MODIFIED;
    flags = static_cast<std::uint8_t>(value != 0 ? others | OBJ_MODIFIED : others);
}

std::uint32_t kellib_validate_object_flags(const void *object, std::uint32_t, std::uint32_t) {
    if (object == nullptr) return 0;  // attaching null empties a record's place
    const bool taken = (header(object)->flags & (OBJ_NESTED | OBJ_EMBEDDED)) != 0;
    return taken ? EINVAL : 0;
}
