// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from {{origin}}; changes belong there.
#include "model/{{type}}.h"
#include "object/access.h"
#include "object/object.h"

{{type_info}}
namespace tarnbase::model {
constinit Fallback<{{plain_size}}> {{type}}_fallback = {};
}  // namespace tarnbase::model
{{operations}}
