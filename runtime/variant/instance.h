/* SPDX-License-Identifier: Apache-2.0 */
// The runtime's view of an object's header. All objects have the same one.
//
// The modified mark is a bit of the flags that the library doesn't use. It isn't logged,
// since its services get no handle, and it is invisible to everything else.
#ifndef TARNBASE_RUNTIME_VARIANT_INSTANCE_H
#define TARNBASE_RUNTIME_VARIANT_INSTANCE_H

#include <cerrno>
#include <cstdint>

#include "tarnbase/object.h"

namespace tarnbase::runtime {

inline kel_object &header_of(void *object) { return *static_cast<kel_object *>(object); }
inline const kel_object &header_of(const void *object) {
    return *static_cast<const kel_object *>(object);
}

// 0 for a null object.
inline std::int32_t instance_variant(const void *object) {
    return object == nullptr ? 0 : header_of(object).variant;
}

// The flags without the modified mark; 0 for a null object.
inline std::uint8_t instance_flags(const void *object) {
    if (object == nullptr) return 0;
    return static_cast<std::uint8_t>(header_of(object).flags & ~OBJ_MODIFIED);
}

inline bool is_modified(const void *object) {
    return object != nullptr && (header_of(object).flags & OBJ_MODIFIED) != 0;
}

inline void set_modified(void *object, bool modified) {
    if (object == nullptr) return;
    std::uint8_t &flags = header_of(object).flags;
    const unsigned others = flags & ~OBJ_MODIFIED;
    flags = static_cast<std::uint8_t>(modified ? others | OBJ_MODIFIED : others);
}

// 0 if the object may be attached to a record, or EINVAL. A null one empties its place.
inline std::uint32_t attach_error(const void *object) {
    if (object == nullptr) return 0;
    const bool has_owner = (header_of(object).flags & (OBJ_NESTED | OBJ_EMBEDDED)) != 0;
    return has_owner ? EINVAL : 0;
}

}  // namespace tarnbase::runtime

#endif
