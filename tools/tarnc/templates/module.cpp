// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from {{origin}}; changes belong there.
#include "frame/vector.h"
#include "tarnbase/module.h"

{{#enumerations}}
#include "model/{{item}}.h"
{{/enumerations}}
{{#structures}}
#include "model/{{item}}.h"
{{/structures}}
{{#tables}}
#include "model/{{item}}.h"
{{/tables}}

const kel_type_info *const {{module}}_type_list[] = {
{{#structures}}
    &_{{item}}_type_info_internal,
{{/structures}}
{{#enumerations}}
    &_{{item}}_type_info_internal,
{{/enumerations}}
{{#tables}}
    &_{{item}}_table_type_info_internal,
    &_{{item}}_table_record_type_info_internal,
{{/tables}}
    nullptr,
};

constinit const void *{{module}}_table_lut[{{table_count}}][KEL_TABLE_VFT_SLOTS] = {};

namespace tarnbase {

TARN_DESIGNATED const void *const source_vectors[{{table_count}}][KEL_TABLE_VFT_SLOTS] = {
{{#tables_by_luid}}
    {
{{vector}}    },
{{/tables_by_luid}}
};

// In ascending order of LUID.
static constexpr const Table *tables[] = {
{{#tables_by_luid}}
    &model::{{item}},
{{/tables_by_luid}}
};

constinit const Module module = {
    .name = "{{module}}",
    .descriptors = {{module}}_type_list,
    .tables = tables,
    .table_count = {{table_count}},
};

}  // namespace tarnbase
