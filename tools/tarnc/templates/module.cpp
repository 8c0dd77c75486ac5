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

static constexpr const Structure *structures[] = {
{{#structures}}
    &model::{{item}},
{{/structures}}
    nullptr,
};

static constexpr const Enumeration *enumerations[] = {
{{#enumerations}}
    &model::{{item}},
{{/enumerations}}
    nullptr,
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
    .structures = structures,
    .structure_count = {{structure_count}},
    .enumerations = enumerations,
    .enumeration_count = {{enumeration_count}},
    .tables = tables,
    .table_count = {{table_count}},
};

}  // namespace tarnbase
