// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from {{origin}}; changes belong there.
#include "catalogue/operations.h"

#include "catalogue/erase.h"
#include "tarnbase/tarnbase.h"

namespace tarnbase::catalogue {

namespace item {
{{#structures}}
extern const Structure {{type}};
{{/structures}}
}  // namespace item

// Each list is in the order of the catalogue.
static constexpr TableOperations table_operations[] = {
{{#tables}}
{
    .luid_text = table_{{table}}_luid_text,
    .name = table_{{table}}_name,
    .vector = {{table}}_table_vft,
    .plain = {
        .open = erase<{{table}}_table_open>,
        .open_by_id = erase<{{table}}_table_open_by_id>,
        .open_auto_id = erase<{{table}}_table_open_auto_id>,
        .dynamic_open_auto_id = erase<{{table}}_dynamic_table_open_auto_id>,
        .open_by_ior_with_name = erase<{{table}}_table_open_by_ior_with_name>,
        .open_by_ior_with_id = erase<{{table}}_table_open_by_ior_with_id>,
        .close = erase<{{table}}_table_close>,
        .free = erase<{{table}}_table_free>,
        .get_count = erase<{{table}}_table_get_count>,
        .get_count_by_src = erase<{{table}}_table_get_count_by_src>,
        .create_cb = erase<{{table}}_table_record_create_cb>,
        .modify_cb = erase<{{table}}_table_record_modify_cb>,
        .delete_cb = erase<{{table}}_table_record_delete_cb>,
        .create_dm_cb = erase<{{table}}_table_record_create_dm_cb>,
        .delete_dm_cb = erase<{{table}}_table_record_delete_dm_cb>,
        .grouping_cb = erase<{{table}}_table_record_grouping_cb>,
        .free_cb = erase<{{table}}_table_record_free_cb>,
        .create_record = erase<{{table}}_create_record>,
        .add_ref = erase<{{table}}_record_add_ref>,
        .destroy_record = erase<{{table}}_destroy_record>,
        .request_destroy = erase<{{table}}_request_record_destroy>,
        .pkey_create = erase<{{table}}_pkey_create>,
        .pkey_destroy = erase<{{table}}_pkey_destroy>,
        .insert = erase<{{table}}_insert>,
        .pkey_insert = erase<{{table}}_pkey_insert>,
        .remove = erase<{{table}}_delete>,
        .search = erase<{{table}}_{{key}}_search>,
        .search_object = erase<{{table}}_search>,
        .search_object_w_src = erase<{{table}}_search_w_src>,
        .next_by_object = erase<{{table}}_get_next_by_key>,
        .prev_by_object = erase<{{table}}_get_prev_by_key>,
        .pkey_print = erase<{{table}}_pkey_print>,
        .pkey_len = erase<{{table}}_table_pkey_len>,
        .print = erase<{{table}}_table_record_print>,
        .to_xml = erase<{{table}}_table_record_to_xml>,
        .from_xml = erase<{{table}}_table_record_from_xml>,
        .is_modified = erase<{{table}}_table_record_is_modified>,
        .marshal = erase<{{table}}_table_record_marshal>,
        .pkey_marshal = erase<{{table}}_table_pkey_marshal>,
        .unmarshal = erase<{{table}}_table_record_unmarshal>,
        .pkey_unmarshal = erase<{{table}}_table_pkey_unmarshal>,
        .len = erase<{{table}}_table_record_len>,
    },
    .unsafe = {
        .open = erase<{{table}}_table_open_unsafe>,
        .open_by_id = erase<{{table}}_table_open_by_id_unsafe>,
        .open_auto_id = erase<{{table}}_table_open_auto_id_unsafe>,
        .dynamic_open_auto_id = erase<{{table}}_dynamic_table_open_auto_id_unsafe>,
        .open_by_ior_with_name = erase<{{table}}_table_open_by_ior_with_name_unsafe>,
        .open_by_ior_with_id = erase<{{table}}_table_open_by_ior_with_id_unsafe>,
        .close = erase<{{table}}_table_close_unsafe>,
        .free = erase<{{table}}_table_free_unsafe>,
        .get_count = erase<{{table}}_table_get_count_unsafe>,
        .get_count_by_src = erase<{{table}}_table_get_count_by_src_unsafe>,
        .create_cb = erase<{{table}}_table_record_create_cb_unsafe>,
        .modify_cb = erase<{{table}}_table_record_modify_cb_unsafe>,
        .delete_cb = erase<{{table}}_table_record_delete_cb_unsafe>,
        .create_dm_cb = erase<{{table}}_table_record_create_dm_cb_unsafe>,
        .delete_dm_cb = erase<{{table}}_table_record_delete_dm_cb_unsafe>,
        .grouping_cb = erase<{{table}}_table_record_grouping_cb_unsafe>,
        .free_cb = erase<{{table}}_table_record_free_cb_unsafe>,
        .create_record = erase<{{table}}_create_record_unsafe>,
        .add_ref = erase<{{table}}_record_add_ref_unsafe>,
        .destroy_record = erase<{{table}}_destroy_record_unsafe>,
        .request_destroy = erase<{{table}}_request_record_destroy_unsafe>,
        .pkey_create = erase<{{table}}_pkey_create_unsafe>,
        .pkey_destroy = erase<{{table}}_pkey_destroy_unsafe>,
        .insert = erase<{{table}}_insert_unsafe>,
        .pkey_insert = erase<{{table}}_pkey_insert_unsafe>,
        .remove = erase<{{table}}_delete_unsafe>,
        .search = erase<{{table}}_{{key}}_search_unsafe>,
        .search_object = erase<{{table}}_search_unsafe>,
        .search_object_w_src = erase<{{table}}_search_w_src_unsafe>,
        .next_by_object = erase<{{table}}_get_next_by_key_unsafe>,
        .prev_by_object = erase<{{table}}_get_prev_by_key_unsafe>,
        .pkey_print = erase<{{table}}_pkey_print_unsafe>,
        .pkey_len = erase<{{table}}_table_pkey_len_unsafe>,
        .print = erase<{{table}}_table_record_print_unsafe>,
        .to_xml = erase<{{table}}_table_record_to_xml_unsafe>,
        .from_xml = erase<{{table}}_table_record_from_xml_unsafe>,
        .is_modified = erase<{{table}}_table_record_is_modified_unsafe>,
        .marshal = erase<{{table}}_table_record_marshal_unsafe>,
        .pkey_marshal = erase<{{table}}_table_pkey_marshal_unsafe>,
        .unmarshal = erase<{{table}}_table_record_unmarshal_unsafe>,
        .pkey_unmarshal = erase<{{table}}_table_pkey_unmarshal_unsafe>,
        .len = erase<{{table}}_table_record_len_unsafe>,
    },
    .by_key = {
        .first = erase<{{table}}_{{key}}_get_first>,
        .last = erase<{{table}}_{{key}}_get_last>,
        .first_ignore_src = erase<{{table}}_{{key}}_get_first_ignore_src>,
        .first_by_src = erase<{{table}}_{{key}}_get_first_by_src>,
        .last_by_src = erase<{{table}}_{{key}}_get_last_by_src>,
        .next = erase<{{table}}_{{key}}_get_next>,
        .prev = erase<{{table}}_{{key}}_get_prev>,
        .next_ignore_src = erase<{{table}}_{{key}}_get_next_ignore_src>,
        .prev_ignore_src = erase<{{table}}_{{key}}_get_prev_ignore_src>,
        .sub_next = erase<{{table}}_{{key}}_get_sub_next>,
        .sub_prev = erase<{{table}}_{{key}}_get_sub_prev>,
        .shadow = erase<{{table}}_{{key}}_get_shadow>,
        .next_by_src = erase<{{table}}_{{key}}_get_next_by_src>,
        .prev_by_src = erase<{{table}}_{{key}}_get_prev_by_src>,
    },
    .by_pkey = {
        .first = erase<{{table}}_pkey_get_first>,
        .last = erase<{{table}}_pkey_get_last>,
        .first_ignore_src = erase<{{table}}_pkey_get_first_ignore_src>,
        .first_by_src = erase<{{table}}_pkey_get_first_by_src>,
        .last_by_src = erase<{{table}}_pkey_get_last_by_src>,
        .next = erase<{{table}}_pkey_get_next>,
        .prev = erase<{{table}}_pkey_get_prev>,
        .next_ignore_src = erase<{{table}}_pkey_get_next_ignore_src>,
        .prev_ignore_src = erase<{{table}}_pkey_get_prev_ignore_src>,
        .sub_next = erase<{{table}}_pkey_get_sub_next>,
        .sub_prev = erase<{{table}}_pkey_get_sub_prev>,
        .shadow = erase<{{table}}_pkey_get_shadow>,
        .next_by_src = erase<{{table}}_pkey_get_next_by_src>,
        .prev_by_src = erase<{{table}}_pkey_get_prev_by_src>,
    },
    .by_pkey_unsafe = {
        .first = erase<{{table}}_pkey_get_first_unsafe>,
        .last = erase<{{table}}_pkey_get_last_unsafe>,
        .first_ignore_src = erase<{{table}}_pkey_get_first_ignore_src_unsafe>,
        .first_by_src = erase<{{table}}_pkey_get_first_by_src_unsafe>,
        .last_by_src = erase<{{table}}_pkey_get_last_by_src_unsafe>,
        .next = erase<{{table}}_pkey_get_next_unsafe>,
        .prev = erase<{{table}}_pkey_get_prev_unsafe>,
        .next_ignore_src = erase<{{table}}_pkey_get_next_ignore_src_unsafe>,
        .prev_ignore_src = erase<{{table}}_pkey_get_prev_ignore_src_unsafe>,
        .sub_next = erase<{{table}}_pkey_get_sub_next_unsafe>,
        .sub_prev = erase<{{table}}_pkey_get_sub_prev_unsafe>,
        .shadow = erase<{{table}}_pkey_get_shadow_unsafe>,
        .next_by_src = erase<{{table}}_pkey_get_next_by_src_unsafe>,
        .prev_by_src = erase<{{table}}_pkey_get_prev_by_src_unsafe>,
    },
    .index = {
        .compare = {{table}}_{{key}}_avl_compare,
        .internal_walk = {{table}}_{{key}}_avl_internal_walk,
        .search_w_src = erase<{{table}}_{{key}}_search_w_src>,
        .search_nearest = erase<{{table}}_{{key}}_search_nearest>,
        .search_sub_first = erase<{{table}}_{{key}}_search_sub_first>,
        .search_not_pending = erase<{{table}}_{{key}}_search_not_pending_destroy>,
        .search_internal = erase<{{table}}_{{key}}_search_internal>,
        .search_cr = erase<{{table}}_{{key}}_search_cr>,
        .first_not_pending = erase<{{table}}_{{key}}_get_first_not_pending_destroy>,
        .last_not_pending = erase<{{table}}_{{key}}_get_last_not_pending_destroy>,
        .next_not_pending = erase<{{table}}_{{key}}_get_next_not_pending_destroy>,
        .prev_not_pending = erase<{{table}}_{{key}}_get_prev_not_pending_destroy>,
        .next_internal = erase<{{table}}_{{key}}_get_next_internal>,
        .prev_internal = erase<{{table}}_{{key}}_get_prev_internal>,
        .next_by_key = erase<{{table}}_{{key}}_get_next_by_key>,
        .prev_by_key = erase<{{table}}_{{key}}_get_prev_by_key>,
        .next_by_key_not_pending = erase<{{table}}_{{key}}_get_next_by_key_not_pending_destroy>,
        .prev_by_key_not_pending = erase<{{table}}_{{key}}_get_prev_by_key_not_pending_destroy>,
        .next_by_key_w_src = erase<{{table}}_{{key}}_get_next_by_key_w_src>,
        .next_by_object_w_src = erase<{{table}}_get_next_by_key_w_src>,
        .get_cr = erase<{{table}}_{{key}}_get_cr>,
        .walk = erase<{{table}}_{{key}}_walk>,
        .unordered_traversal = erase<{{table}}_{{key}}_unordered_traversal>,
    },
    .cr = {
        .open = erase<{{table}}_table_open_cr>,
        .close = erase<{{table}}_table_close_cr>,
        .get_count = erase<{{table}}_table_get_count_cr>,
        .create = erase<{{table}}_record_create_cr>,
        .destroy = erase<{{table}}_record_destroy_cr>,
        .insert = erase<{{table}}_insert_cr>,
        .remove = erase<{{table}}_delete_cr>,
        .walk = erase<{{table}}_record_walk_cr>,
        .print = erase<{{table}}_record_print_cr>,
        .to_xml = erase<{{table}}_record_toxml_cr>,
        .marshal = erase<{{table}}_record_marshal_cr>,
        .len = erase<{{table}}_record_len_cr>,
    },
    .create_record_w_src = erase<{{table}}_create_record_w_src>,
    .object = {
        .type = &item::{{type}},
        .get = erase<{{table}}_{{type}}_get_field>,
        .detach = erase<{{table}}_{{type}}_get_field_detach>,
        .set = erase<{{table}}_{{type}}_set_field>,
        .free_and_set = erase<{{table}}_{{type}}_free_and_set_field>,
        .create_cr = erase<{{type}}_create_cr>,
        .size_of = erase<{{type}}_sizeof>,
    },
{{#composite}}
    .key_object = {
        .type = &item::{{ktype}},
        .get = erase<{{table}}_{{ktype}}_get_field>,
        .detach = erase<{{table}}_{{ktype}}_get_field_detach>,
        .set = erase<{{table}}_{{ktype}}_set_field>,
        .free_and_set = erase<{{table}}_{{ktype}}_free_and_set_field>,
        .create_cr = erase<{{ktype}}_create_cr>,
        .size_of = erase<{{ktype}}_sizeof>,
    },
{{/composite}}
{{^composite}}
    .key_object = {},
{{/composite}}
},
{{/tables}}
};

static constexpr ObjectOperations structure_operations[] = {
{{#structures}}
{
    .create = erase<{{type}}_create>,
    .create_cr = erase<{{type}}_create_cr>,
    .destroy = erase<{{type}}_destroy>,
    .destroy_cr = erase<{{type}}_destroy_cr>,
    .set_instance_embedded = erase<{{type}}_set_instance_embedded>,
    .adjust_variant = erase<{{type}}_adjust_variant>,
    .backpropagate = erase<{{type}}_type_type_backpropagate>,
    .set = erase<{{type}}_set>,
    .marshal = erase<{{type}}_marshal>,
    .unmarshal = erase<{{type}}_unmarshal>,
    .print = erase<{{type}}_print>,
    .print_cr = erase<{{type}}_print_cr>,
    .to_xml = erase<{{type}}_to_xml>,
    .toxml_cr = erase<{{type}}_toxml_cr>,
    .from_xml = erase<{{type}}_from_xml>,
    .get_value = nullptr,
    .set_value = nullptr,
    .is_valid_value_cr = nullptr,
    .offset_update = erase<{{type}}_offset_update>,
    .offset_remove = erase<{{type}}_offset_remove>,
    .post_copyout_cleanup = erase<{{type}}_post_copyout_cleanup>,
    .clone = erase<{{type}}_clone>,
    .clone_cr = erase<{{type}}_clone_cr>,
    .copy_cr = erase<{{type}}_copy_cr>,
    .is_valid_field_cr = erase<{{type}}_is_valid_cr>,
},
{{/structures}}
};

static constexpr ObjectOperations enumeration_operations[] = {
{{#enumerations}}
{
    .create = erase<{{enum}}_create>,
    .create_cr = erase<{{enum}}_create_cr>,
    .destroy = erase<{{enum}}_destroy>,
    .destroy_cr = erase<{{enum}}_destroy_cr>,
    .set_instance_embedded = erase<{{enum}}_set_instance_embedded>,
    .adjust_variant = erase<{{enum}}_adjust_variant>,
    .backpropagate = erase<{{enum}}_backpropagate>,
    .set = erase<{{enum}}_set>,
    .marshal = erase<{{enum}}_marshal>,
    .unmarshal = erase<{{enum}}_unmarshal>,
    .print = erase<{{enum}}_print>,
    .print_cr = erase<{{enum}}_print_cr>,
    .to_xml = erase<{{enum}}_to_xml>,
    .toxml_cr = erase<{{enum}}_toxml_cr>,
    .from_xml = erase<{{enum}}_from_xml>,
    .get_value = erase<{{enum}}_get_value>,
    .set_value = erase<{{enum}}_set_value>,
    .is_valid_value_cr = erase<{{enum}}_is_valid_cr>,
    .offset_update = nullptr,
    .offset_remove = nullptr,
    .post_copyout_cleanup = nullptr,
    .clone = nullptr,
    .clone_cr = nullptr,
    .copy_cr = nullptr,
    .is_valid_field_cr = nullptr,
},
{{/enumerations}}
};

template <class Item>
static std::size_t place_of(const Item &item, std::span<const Item *const> items) {
    std::size_t place = 0;
    while (items[place] != &item) ++place;
    return place;
}

const TableOperations &operations_of(const Table &table) {
    return table_operations[place_of(table, schema.tables)];
}

const ObjectOperations &operations_of(const Structure &structure) {
    return structure_operations[place_of(structure, schema.structures)];
}

const ObjectOperations &operations_of(const Enumeration &enumeration) {
    return enumeration_operations[place_of(enumeration, schema.enumerations)];
}

}  // namespace tarnbase::catalogue
