// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from {{origin}}; changes belong there.
#include "agentx/map.h"

namespace agentx {
{{#has_tables}}
namespace {

{{#tables}}
// {{mib_table}}
constexpr uint32_t entry_{{place}}[] = { {{entry}} };
constexpr MapColumn index_{{place}}[] = {
{{#index}}
    { {{number}}, Syntax::{{syntax}}, "{{path}}", "{{fraction}}", {{in_key}}, {{low}}, {{high}} },
{{/index}}
};
constexpr MapColumn columns_{{place}}[] = {
{{#columns}}
    { {{number}}, Syntax::{{syntax}}, "{{path}}", "{{fraction}}", {{in_key}}, {{low}}, {{high}} },
{{/columns}}
};
{{/tables}}

constexpr MapTable tables[] = {
{{#tables}}
    {"{{schema_table}}", {{own}}, entry_{{place}}, index_{{place}}, columns_{{place}}},
{{/tables}}
};
{{#has_events}}
constexpr MapEvent events[] = {
{{#events}}
    {"{{schema_table}}", "{{path}}", {{number}}},
{{/events}}
};
{{/has_events}}
{{^has_events}}
constexpr std::span<const MapEvent> events;
{{/has_events}}

}  // namespace
{{/has_tables}}

{{#has_tables}}
constexpr uint32_t base[] = { {{base}} };

const Map map = {base, tables, events};
{{/has_tables}}
{{^has_tables}}
const Map map = {};
{{/has_tables}}

}  // namespace agentx
