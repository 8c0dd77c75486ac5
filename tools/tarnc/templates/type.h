/* SPDX-License-Identifier: Apache-2.0 */
/* Made by tarnc from {{origin}}; changes belong there. */
/*
 * {{type}}: {{meaning}}.
 *
{{#fields}}
 *   {{field_line}}
{{/fields}}
 */
#ifndef TARNBASE_TYPES_{{type}}_H
#define TARNBASE_TYPES_{{type}}_H

#include <stdint.h>

#include "tarnbase/descriptor.h"
#include "tarnbase/export.h"
#include "tarnbase/handle.h"
#include "tarnbase/schema.h"
#include "tarnbase/value.h"
{{#includes}}
#include "tarnbase/{{folder}}/{{item}}.h"
{{/includes}}

TARNBASE_BEGIN

typedef struct {{type}} {{type}};

/* The type's descriptor. */
extern TARNBASE_API const kel_type_info _{{type}}_type_info_internal;
{{operations}}
TARNBASE_END

#endif
