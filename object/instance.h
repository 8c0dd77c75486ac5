// SPDX-License-Identifier: Apache-2.0
// An object's variant and its modified mark, by the runtime's services.
#ifndef TARNBASE_OBJECT_INSTANCE_H
#define TARNBASE_OBJECT_INSTANCE_H

#include <cstdint>

#include "frame/schema.h"

namespace tarnbase::object {

// What a service is called about: a structure or its field, or an enumeration.
struct Instance {
    std::uint32_t is_structure;
    std::uint32_t is_small;
};
inline constexpr Instance whole_structure = {1, 0};
inline constexpr Instance whole_enumeration = {0, 1};
constexpr Instance field_instance(const Field &field) { return {1, is_small(field.kind)}; }

// 0 for a null object.
inline std::int32_t instance_variant(const void *object, Instance instance) {
    return kel_get_instance_variant(object, instance.is_structure, instance.is_small);
}

inline bool is_modified(const void *object, Instance instance) {
    return kel_get_instance_modified(object, instance.is_structure, instance.is_small) != 0;
}
inline void set_modified(void *object, Instance instance) {
    kel_set_instance_modified(object, instance.is_structure, instance.is_small, 1);
}
inline void clear_modified(void *object, Instance instance) {
    kel_set_instance_modified(object, instance.is_structure, instance.is_small, 0);
}

}  // namespace tarnbase::object

#endif
