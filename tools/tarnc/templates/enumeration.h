/* SPDX-License-Identifier: Apache-2.0 */
/* Made by tarnc from {{origin}}; changes belong there. */
/* {{enum}}: {{meaning}}. */
#ifndef TARNBASE_ENUMS_{{enum}}_H
#define TARNBASE_ENUMS_{{enum}}_H

#include <stdint.h>

#include "tarnbase/descriptor.h"
#include "tarnbase/export.h"
#include "tarnbase/handle.h"
#include "tarnbase/schema.h"

TARNBASE_BEGIN

/* The user values. */
enum {
{{#enumerators}}
    {{enumerator}} = {{value}}{{^last}},{{/last}}{{comment}}
{{/enumerators}}
};

typedef struct {{enum}} {{enum}};

/* The type's descriptor. */
extern TARNBASE_API const kel_type_info _{{enum}}_type_info_internal;
{{operations}}
TARNBASE_END

#endif
