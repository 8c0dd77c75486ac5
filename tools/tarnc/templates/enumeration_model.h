/* SPDX-License-Identifier: Apache-2.0 */
// Made by tarnc from {{origin}}; changes belong there.
#ifndef TARNBASE_MODEL_{{enum}}_H
#define TARNBASE_MODEL_{{enum}}_H

#include "frame/schema.h"
#include "tarnbase/enums/{{enum}}.h"

namespace tarnbase::model {

extern kel_enum_object {{enum}}_fallback;

inline constexpr Enumerator {{enum}}_enumerators[] = {
{{#enumerators}}
    {"{{enumerator}}", {{value}}},
{{/enumerators}}
};

inline constexpr Enumeration {{enum}} = {
    .name = "{{enum}}",
    .descriptor = &_{{enum}}_type_info_internal,
    .fallback = &{{enum}}_fallback,
    .first_user_value = {{first_user_value}},
    .count = {{count}},
    .enumerators = {{enum}}_enumerators,
};

}  // namespace tarnbase::model

#endif
