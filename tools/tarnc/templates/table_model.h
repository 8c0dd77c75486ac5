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

inline constexpr Table {{table}} = {
    .name = "{{table}}",
    .luid_text = table_{{table}}_luid_text,
    .luid = table_{{table}}_luid,
    .table_descriptor = &_{{table}}_table_type_info_internal,
    .record_descriptor = &_{{table}}_table_record_type_info_internal,
    .type = &{{type}},
    .key_type = {{model_key_type}},
    .key_field = {{model_key_field}},
    .key_kind = KeyKind::{{key_kind}},
    .key_label = "{{key_label}}",
    .compare = &{{table}}_{{key}}_avl_compare,
    .vector = {{table}}_table_vft,
    .fallback = &{{table}}_fallback,
    .root_cache = &{{table}}_root,
    .record_size = {{#composite}}sizeof(kel_record){{/composite}}{{^composite}}KEL_RECORD_SIZE{{/composite}},
};

}  // namespace tarnbase::model

#endif
