/* SPDX-License-Identifier: Apache-2.0 */
/* Made by tarnc from {{origin}}; changes belong there. */
/* The whole public interface. Include a single item's header where that will do. */
#ifndef TARNBASE_TARNBASE_H
#define TARNBASE_TARNBASE_H

#include "tarnbase/module.h"
{{#enumerations}}
#include "tarnbase/enums/{{item}}.h"
{{/enumerations}}
{{#structures}}
#include "tarnbase/types/{{item}}.h"
{{/structures}}
{{#tables}}
#include "tarnbase/tables/{{item}}.h"
{{/tables}}

#endif
