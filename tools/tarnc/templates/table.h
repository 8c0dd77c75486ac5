/* SPDX-License-Identifier: Apache-2.0 */
/* Made by tarnc from {{origin}}; changes belong there. */
{{introduction}}#ifndef TARNBASE_TABLES_{{table}}_H
#define TARNBASE_TABLES_{{table}}_H

#include <stdint.h>

#include "tarnbase/descriptor.h"
#include "tarnbase/export.h"
#include "tarnbase/handle.h"
#include "tarnbase/record.h"
#include "tarnbase/schema.h"
#include "tarnbase/types/{{type}}.h"
{{#composite}}
#include "tarnbase/types/{{ktype}}.h"
{{/composite}}
#include "tarnbase/value.h"

TARNBASE_BEGIN

/* The descriptors of the table's blocks and of its records. */
extern TARNBASE_API const kel_type_info _{{table}}_table_type_info_internal;
extern TARNBASE_API const kel_type_info _{{table}}_table_record_type_info_internal;

/* The table's LUID, the same as hexadecimal text, and "table {{table}}". */
extern TARNBASE_API const uint8_t table_{{table}}_luid[16];
extern TARNBASE_API const char table_{{table}}_luid_text[33];
extern TARNBASE_API const char table_{{table}}_name[64];

/* The table's vector: the LUID, the name and the `_unsafe` operations. */
extern TARNBASE_API const void *const {{table}}_table_vft[KEL_TABLE_VFT_SLOTS];
{{operations}}
TARNBASE_END

#endif
