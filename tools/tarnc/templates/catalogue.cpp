// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from {{origin}}; changes belong there.
#include "catalogue/catalogue.h"

#include "catalogue/entries.h"
#include "tarnbase/tarnbase.h"

namespace tarnbase::catalogue {
namespace item {

{{#enumerations}}
static constexpr Enumerator {{enum}}_enumerators[] = {
{{#enumerators}}
    {"{{enumerator}}", {{value}}, "{{quoted_meaning}}"},
{{/enumerators}}
};
static constexpr Enumeration {{enum}} = {"{{enum}}", "{{quoted_meaning}}",
    &_{{enum}}_type_info_internal, "{{digest}}", "{{origin}}", {{enum}}_enumerators};

{{/enumerations}}
{{#structures}}
extern const Structure {{type}};
{{/structures}}

{{#structures}}
static constexpr Field {{type}}_fields[] = {
{{#fields}}
    {"{{field}}", "{{quoted_meaning}}", "{{quoted_unit}}", Measure::{{measure}}, "{{measure_name}}",
     "{{field_type}}", Kind::{{kind}}, {{first_variant}}, {{elements}}, {{enumeration}}, {{structure}},
{{#array}}
     array_field<{{type}}_{{field}}_get, {{type}}_{{field}}_get_value, {{type}}_{{field}}_set_value,
                 {{type}}_{{field}}_state_flag_whole_get, {{type}}_{{field}}_state_flag_whole_set,
                 {{type}}_{{field}}_state_flag_get, {{type}}_{{field}}_state_flag_set>()},
{{/array}}
{{#object}}
     object_field<{{type}}_{{field}}_get, {{type}}_{{field}}_set, {{type}}_{{field}}_state_flag_get,
                  {{type}}_{{field}}_state_flag_set>()},
{{/object}}
{{#plain}}
     value_field<{{type}}_{{field}}_get, {{type}}_{{field}}_set, {{type}}_{{field}}_get_value,
                 {{type}}_{{field}}_set_value, {{type}}_{{field}}_state_flag_get,
                 {{type}}_{{field}}_state_flag_set>()},
{{/plain}}
{{/fields}}
};
constexpr Structure {{type}} = {
    .name = "{{type}}",
    .meaning = "{{quoted_meaning}}",
    .origin = "{{origin}}",
    .descriptor = &_{{type}}_type_info_internal,
    .digest = "{{digest}}",
    .state_length = {{state_length}},
    .fields = {{type}}_fields,
    .create = erase<{{type}}_create>,
    .destroy = erase<{{type}}_destroy>,
    .set = erase<{{type}}_set>,
    .compare = erase<{{type}}_compare>,
    .len = erase<{{type}}_len>,
    .marshal = erase<{{type}}_marshal>,
    .unmarshal = erase<{{type}}_unmarshal>,
    .print = erase<{{type}}_print>,
    .to_xml = erase<{{type}}_to_xml>,
    .from_xml = erase<{{type}}_from_xml>,
};

{{/structures}}
{{#tables}}
static constexpr Table {{table}} = {
    .name = "{{table}}",
    .meaning = "{{quoted_meaning}}",
    .origin = "{{origin}}",
    .digest = "{{digest}}",
    .record_digest = "{{record_digest}}",
    .luid = table_{{table}}_luid,
    .descriptor = &_{{table}}_table_type_info_internal,
    .record_descriptor = &_{{table}}_table_record_type_info_internal,
    .type = &{{type}},
    .key_type = {{model_key_type}},
    .key_field = {{#composite}}nullptr{{/composite}}{{^composite}}{{model_key}}{{/composite}},
    .open = erase<{{table}}_table_open>,
    .open_by_id = erase<{{table}}_table_open_by_id>,
    .free = erase<{{table}}_table_free>,
    .count = erase<{{table}}_table_get_count>,
    .count_by_src = erase<{{table}}_table_get_count_by_src>,
    .create_record = erase<{{table}}_create_record_w_src>,
    .destroy_record = erase<{{table}}_destroy_record>,
    .object = erase<{{table}}_{{type}}_get_field>,
    .set_object = erase<{{table}}_{{type}}_set_field>,
{{#composite}}
    .key_object = erase<{{table}}_{{ktype}}_get_field>,
    .set_key_object = erase<{{table}}_{{ktype}}_set_field>,
{{/composite}}
{{^composite}}
    .key_object = nullptr,
    .set_key_object = nullptr,
{{/composite}}
    .insert = erase<{{table}}_insert>,
    .erase = erase<{{table}}_delete>,
    .search_w_src = erase<{{table}}_{{key}}_search_w_src>,
    .search_internal = erase<{{table}}_{{key}}_search_internal>,
    .first_ignore_src = erase<{{table}}_{{key}}_get_first_ignore_src>,
    .next_ignore_src = erase<{{table}}_{{key}}_get_next_ignore_src>,
    .walk = erase<{{table}}_{{key}}_walk>,
    .order = erase<{{table}}_{{key}}_avl_compare>,
    .print = erase<{{table}}_table_record_print>,
    .to_xml = erase<{{table}}_table_record_to_xml>,
    .from_xml = erase<{{table}}_table_record_from_xml>,
    .len = erase<{{table}}_table_record_len>,
    .marshal = erase<{{table}}_table_record_marshal>,
    .unmarshal = erase<{{table}}_table_record_unmarshal>,
};

{{/tables}}
static constexpr const Enumeration *enumerations[] = {
{{#enumerations}}
    &{{enum}},
{{/enumerations}}
};
static constexpr const Structure *structures[] = {
{{#structures}}
    &{{type}},
{{/structures}}
};
static constexpr const Table *tables[] = {
{{#tables}}
    &{{table}},
{{/tables}}
};

}  // namespace item

const Catalogue schema = {"{{module}}", item::enumerations, item::structures, item::tables};

}  // namespace tarnbase::catalogue
