// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from {{origin}}; changes belong there.
#include "frame/vector.h"
#include "model/{{table}}.h"
#include "table/order.h"
#include "table/table.h"

{{table_type_info}}
{{record_type_info}}
const uint8_t table_{{table}}_luid[16] =
    {{luid_bytes}};
const char table_{{table}}_luid_text[33] = "{{luid}}";
const char table_{{table}}_name[64] = "table {{table}}";

TARN_DESIGNATED const void *const {{table}}_table_vft[KEL_TABLE_VFT_SLOTS] = {
{{vector}}};

namespace tarnbase::model {
constinit kel_record {{table}}_fallback = {};
constinit kel_table_id_root *{{table}}_root = nullptr;
}  // namespace tarnbase::model
{{operations}}
