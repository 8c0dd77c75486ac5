// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from {{origin}}; changes belong there.
#include "model/{{enum}}.h"
#include "object/enumeration.h"
#include "object/object.h"

{{type_info}}
namespace tarnbase::model {
constinit kel_enum_object {{enum}}_fallback = {};
}  // namespace tarnbase::model

// Between the public type and its object.
static kel_enum_object *inner({{enum}} *object) {
    return reinterpret_cast<kel_enum_object *>(object);
}
static const kel_enum_object *inner(const {{enum}} *object) {
    return reinterpret_cast<const kel_enum_object *>(object);
}
static {{enum}} *outer_{{enum}}(kel_enum_object *object) {
    return reinterpret_cast<{{enum}} *>(object);
}
{{operations}}
