-- SPDX-License-Identifier: Apache-2.0
-- Made by tarnc from {{origin}}; changes belong there.

-- Enumerators in order, and the value of the first one. On the wire they count from 0.
local enumerations = {}
{{#enumerations}}
enumerations["{{enum}}"] = {
    first_value = {{first_user_value}},
    names = {
{{#enumerators}}
        "{{enumerator}}",
{{/enumerators}}
    },
}
{{/enumerations}}

-- Fields in the order of the wire form. A field's type is that of the schema.
local structures = {}
{{#structures}}
structures["{{type}}"] = {
    name = "{{type}}",
    meaning = "{{{quoted_meaning}}}",
    fields = {
{{#fields}}
        { name = "{{field}}", kind = "{{kind}}", type = "{{field_type}}", elements = {{elements}},
          first_variant = {{first_variant}}, unit = "{{{quoted_unit}}}",
          meaning = "{{{quoted_meaning}}}" },
{{/fields}}
    },
}
{{/structures}}

-- Tables by LUID: the types of the data object and, if there is one, of the key object.
local tables = {}
{{#tables}}
tables["{{luid}}"] = {
    name = "{{table}}",
    object = "{{type}}",
{{#composite}}
    key = "{{ktype}}",
{{/composite}}
}
{{/tables}}

-- Kinds of field: their group, the bytes of a number, and whether it is signed.
local kinds = {}
{{#kinds}}
kinds["{{kind}}"] = { group = "{{group}}", size = {{size}}, is_signed = {{#signed}}true{{/signed}}{{^signed}}false{{/signed}} }
{{/kinds}}
