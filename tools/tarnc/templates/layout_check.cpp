// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from {{origin}}; changes belong there.
// The computed layout against that of real structures.
#include <cstddef>
#include <cstdint>

#include "tarnbase/object.h"
#include "tarnbase/value.h"

namespace {
{{#structures}}

struct {{type}} {
    KEL_OBJECT_HEADER
{{#fields}}
    {{member_type}} {{member}};
{{/fields}}
};
{{#fields}}
static_assert(offsetof({{type}}, {{member_name}}) == {{offset}});
static_assert(sizeof({{type}}::{{member_name}}) == {{size}});
{{/fields}}
static_assert(sizeof({{type}}) == {{rounded}});
// With its whole allocation, as in a parent.
union whole_{{type}} {
    {{type}} fields;
    unsigned char allocation[{{plain_size}}];
};
static_assert(sizeof(whole_{{type}}) == {{plain_size}});
{{/structures}}

}  // namespace
