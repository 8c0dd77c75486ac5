/* SPDX-License-Identifier: Apache-2.0 */
// Made by tarnc from {{origin}}; changes belong there.
#ifndef TARNBASE_MODEL_{{table}}_H
#define TARNBASE_MODEL_{{table}}_H

#include "frame/schema.h"
#include "model/{{type}}.h"
{{#composite}}
#include "model/{{ktype}}.h"
{{/composite}}
#include "tarnbase/tables/{{table}}.h"

namespace tarnbase::model {

extern kel_record {{table}}_fallback;
extern kel_table_id_root *{{table}}_root;

{{#composite}}
// The whole key object, as a field.
inline constexpr Field {{table}}_key_field = {
    .name = "",
    .name_length = 0,
    .kind = FieldKind::structure,
    .first_variant = 0,
    .run = 1,
    .offset = 0,
    .state = 0,
    .elements = 0,
    .descriptor = &_{{ktype}}_type_info_internal,
    .enumeration = nullptr,
    .structure = &{{ktype}},
};

{{/composite}}
inline constexpr Table {{table}} = {
    .name = "{{table}}",
    .luid_text = table_{{table}}_luid_text,
    .luid = table_{{table}}_luid,
    .table_descriptor = &_{{table}}_table_type_info_internal,
    .record_descriptor = &_{{table}}_table_record_type_info_internal,
    .type = &{{type}},
    .key_type = {{model_key_type}},
    .key = {{model_key}},
    .key_label = "{{key_label}}",
    .compare = &{{table}}_{{key}}_avl_compare,
    .vector = {{table}}_table_vft,
    .fallback = &{{table}}_fallback,
    .root_cache = &{{table}}_root,
    .record_size = {{#composite}}sizeof(kel_record){{/composite}}{{^composite}}KEL_RECORD_SIZE{{/composite}},
};

}  // namespace tarnbase::model

#endif
