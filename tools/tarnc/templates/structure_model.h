/* SPDX-License-Identifier: Apache-2.0 */
// Made by tarnc from {{origin}}; changes belong there.
#ifndef TARNBASE_MODEL_{{type}}_H
#define TARNBASE_MODEL_{{type}}_H

#include "frame/schema.h"
{{#includes}}
#include "model/{{item}}.h"
{{/includes}}
#include "object/order.h"
#include "tarnbase/types/{{type}}.h"

namespace tarnbase::model {

extern Fallback<{{plain_size}}> {{type}}_fallback;

inline constexpr Field {{type}}_fields[] = {
{{#fields}}
    {
        .name = "{{field}}",
        .name_length = {{name_length}},
        .kind = FieldKind::{{kind}},
        .first_variant = {{first_variant}},
        .run = {{run}},
        .offset = {{offset}},
        .state = {{state}},
        .elements = {{elements}},
        .descriptor = {{descriptor}},
        .enumeration = {{enumeration}},
        .structure = {{structure}},
    },
{{/fields}}
};

inline constexpr std::uint32_t {{type}}_field_numbers[] = {
{{#variants}}
    {{field_numbers}},  // variant {{variant}}
{{/variants}}
};

inline constexpr Structure {{type}} = {
    .name = "{{type}}",
    .descriptor = &_{{type}}_type_info_internal,
    .fallback = &{{type}}_fallback.object,
    .plain_size = {{plain_size}},
    .state_length = {{state_length}},
    .top_variant = {{top_variant}},
    .field_count = {{field_count}},
    .fields = {{type}}_fields,
    .field_numbers = {{type}}_field_numbers,
    .compare = &tarnbase::object::compare_fields<{{type}}_fields>,
    .hash = &tarnbase::object::hash_fields<{{type}}_fields>,
};

}  // namespace tarnbase::model

#endif
