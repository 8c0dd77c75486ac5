# SPDX-License-Identifier: Apache-2.0
# Made by tarnc from {{origin}}; changes belong there.
# What the debug information of a program lacks: its types are opaque.

# Kinds of field: group, type, bytes, whether a number is signed.
KINDS = {
{{#kinds}}
    "{{kind}}": ("{{group}}", "{{type}}", {{size}}, {{#signed}}True{{/signed}}{{^signed}}False{{/signed}}),
{{/kinds}}
}

# Enumerators by user value.
ENUMERATIONS = {
{{#enumerations}}
    "{{enum}}": {
{{#enumerators}}
        {{value}}: "{{enumerator}}",
{{/enumerators}}
    },
{{/enumerations}}
}

# Fields in order: name, kind, type, offset, elements of an array, first variant.
STRUCTURES = {
{{#structures}}
    "{{type}}": (
{{#fields}}
        ("{{field}}", "{{kind}}", "{{field_type}}", {{offset}}, {{elements}}, {{first_variant}}),
{{/fields}}
    ),
{{/structures}}
}

# Whether the records have a key object.
TABLES = {
{{#tables}}
    "{{table}}": {{#composite}}True{{/composite}}{{^composite}}False{{/composite}},
{{/tables}}
}
