// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from {{origin}}; changes belong there.
// A share of the exported functions: {{digest}}
{{#items}}
#include "stamps/{{item}}.cpp"
{{/items}}
