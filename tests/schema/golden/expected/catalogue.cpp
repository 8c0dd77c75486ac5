// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from sample.tarn; changes belong there.
#include "catalogue/catalogue.h"

#include "catalogue/entries.h"
#include "tarnbase/tarnbase.h"

namespace tarnbase::catalogue {
namespace item {

static constexpr Enumerator color_enumerators[] = {
    {"COLOR_RED", 1, "the color of warnings"},
    {"COLOR_BLUE", 2, ""},
};
static constexpr Enumeration color = {"color", "what a shape is painted with",
    &_color_type_info_internal, "b60a53e3e29316a97552a5f0bbcaeade", "shapes.tarn", color_enumerators};

extern const Structure st_corner;
extern const Structure st_shape;
extern const Structure shape_key;

static constexpr Field st_corner_fields[] = {
    {"x", "to the right", "millimetres", Measure::gauge, "right",
     "int64", Kind::int64, 0, 0, nullptr, nullptr,
     value_field<st_corner_x_get, st_corner_x_set, st_corner_x_get_value,
                 st_corner_x_set_value, st_corner_x_state_flag_get,
                 st_corner_x_state_flag_set>()},
    {"register", "its name is a keyword of C", "", Measure::gauge, "register",
     "u_int8", Kind::u_int8, 0, 0, nullptr, nullptr,
     value_field<st_corner_register_get, st_corner_register_set, st_corner_register_get_value,
                 st_corner_register_set_value, st_corner_register_state_flag_get,
                 st_corner_register_state_flag_set>()},
};
constexpr Structure st_corner = {
    .name = "st_corner",
    .meaning = "where two lines meet",
    .origin = "shapes.tarn",
    .descriptor = &_st_corner_type_info_internal,
    .digest = "c63a961a1db4582ec26fe83396f54aa1",
    .state_length = 2,
    .fields = st_corner_fields,
    .create = erase<st_corner_create>,
    .destroy = erase<st_corner_destroy>,
    .set = erase<st_corner_set>,
    .compare = erase<st_corner_compare>,
    .len = erase<st_corner_len>,
    .marshal = erase<st_corner_marshal>,
    .unmarshal = erase<st_corner_unmarshal>,
    .print = erase<st_corner_print>,
    .to_xml = erase<st_corner_to_xml>,
    .from_xml = erase<st_corner_from_xml>,
};

static constexpr Field st_shape_fields[] = {
    {"sides", "sides of the shape", "", Measure::counter, "sides",
     "u_int8", Kind::u_int8, 0, 0, nullptr, nullptr,
     value_field<st_shape_sides_get, st_shape_sides_set, st_shape_sides_get_value,
                 st_shape_sides_set_value, st_shape_sides_state_flag_get,
                 st_shape_sides_state_flag_set>()},
    {"number", "number of the shape; a key", "", Measure::plain, "number",
     "u_int32", Kind::u_int32, 0, 0, nullptr, nullptr,
     value_field<st_shape_number_get, st_shape_number_set, st_shape_number_get_value,
                 st_shape_number_set_value, st_shape_number_state_flag_get,
                 st_shape_number_state_flag_set>()},
    {"color", "named as its type", "", Measure::label, "color",
     "color", Kind::enumeration, 0, 0, &color, nullptr,
     value_field<st_shape_color_get, st_shape_color_set, st_shape_color_get_value,
                 st_shape_color_set_value, st_shape_color_state_flag_get,
                 st_shape_color_state_flag_set>()},
    {"first", "the corner to begin at", "", Measure::parts, "first",
     "st_corner", Kind::structure, 0, 0, nullptr, &st_corner,
     object_field<st_shape_first_get, st_shape_first_set, st_shape_first_state_flag_get,
                  st_shape_first_state_flag_set>()},
    {"pattern", "how the sides are dashed", "", Measure::plain, "pattern",
     "u_int8", Kind::array, 0, 4, nullptr, nullptr,
     array_field<st_shape_pattern_get, st_shape_pattern_get_value, st_shape_pattern_set_value,
                 st_shape_pattern_state_flag_whole_get, st_shape_pattern_state_flag_whole_set,
                 st_shape_pattern_state_flag_get, st_shape_pattern_state_flag_set>()},
    {"filled", "whether the inside is painted", "", Measure::gauge, "filled",
     "kel_boolean", Kind::boolean, 1, 0, nullptr, nullptr,
     value_field<st_shape_filled_get, st_shape_filled_set, st_shape_filled_get_value,
                 st_shape_filled_set_value, st_shape_filled_state_flag_get,
                 st_shape_filled_state_flag_set>()},
};
constexpr Structure st_shape = {
    .name = "st_shape",
    .meaning = "a shape on a plane",
    .origin = "shapes.tarn",
    .descriptor = &_st_shape_type_info_internal,
    .digest = "b177e795d6bccde16c56572f9de950d6",
    .state_length = 12,
    .fields = st_shape_fields,
    .create = erase<st_shape_create>,
    .destroy = erase<st_shape_destroy>,
    .set = erase<st_shape_set>,
    .compare = erase<st_shape_compare>,
    .len = erase<st_shape_len>,
    .marshal = erase<st_shape_marshal>,
    .unmarshal = erase<st_shape_unmarshal>,
    .print = erase<st_shape_print>,
    .to_xml = erase<st_shape_to_xml>,
    .from_xml = erase<st_shape_from_xml>,
};

static constexpr Field shape_key_fields[] = {
    {"layer", "the layer's name", "", Measure::plain, "layer",
     "kel_vstring", Kind::vstring, 0, 0, nullptr, nullptr,
     object_field<shape_key_layer_get, shape_key_layer_set, shape_key_layer_state_flag_get,
                  shape_key_layer_state_flag_set>()},
    {"owner", "the machine that draws it", "", Measure::plain, "owner",
     "ip_address", Kind::address, 0, 0, nullptr, nullptr,
     object_field<shape_key_owner_get, shape_key_owner_set, shape_key_owner_state_flag_get,
                  shape_key_owner_state_flag_set>()},
};
constexpr Structure shape_key = {
    .name = "shape_key",
    .meaning = "names a shape among its layer's",
    .origin = "shapes.tarn",
    .descriptor = &_shape_key_type_info_internal,
    .digest = "04657179d584b4e8267620a35b876f0d",
    .state_length = 10,
    .fields = shape_key_fields,
    .create = erase<shape_key_create>,
    .destroy = erase<shape_key_destroy>,
    .set = erase<shape_key_set>,
    .compare = erase<shape_key_compare>,
    .len = erase<shape_key_len>,
    .marshal = erase<shape_key_marshal>,
    .unmarshal = erase<shape_key_unmarshal>,
    .print = erase<shape_key_print>,
    .to_xml = erase<shape_key_to_xml>,
    .from_xml = erase<shape_key_from_xml>,
};

static constexpr Table tbl_shape = {
    .name = "tbl_shape",
    .meaning = "the shapes by number",
    .origin = "shapes.tarn",
    .digest = "cc8044901774a7ab87899bd472335a43",
    .record_digest = "46541d967ec21fe999da3e05d3b69e03",
    .luid = table_tbl_shape_luid,
    .descriptor = &_tbl_shape_table_type_info_internal,
    .record_descriptor = &_tbl_shape_table_record_type_info_internal,
    .type = &st_shape,
    .key_type = nullptr,
    .key_field = &st_shape_fields[1],
    .open = erase<tbl_shape_table_open>,
    .open_by_id = erase<tbl_shape_table_open_by_id>,
    .free = erase<tbl_shape_table_free>,
    .count = erase<tbl_shape_table_get_count>,
    .count_by_src = erase<tbl_shape_table_get_count_by_src>,
    .create_record = erase<tbl_shape_create_record_w_src>,
    .destroy_record = erase<tbl_shape_destroy_record>,
    .object = erase<tbl_shape_st_shape_get_field>,
    .set_object = erase<tbl_shape_st_shape_set_field>,
    .key_object = nullptr,
    .set_key_object = nullptr,
    .insert = erase<tbl_shape_insert>,
    .erase = erase<tbl_shape_delete>,
    .search_w_src = erase<tbl_shape_st_shape_number_search_w_src>,
    .search_internal = erase<tbl_shape_st_shape_number_search_internal>,
    .first_ignore_src = erase<tbl_shape_st_shape_number_get_first_ignore_src>,
    .next_ignore_src = erase<tbl_shape_st_shape_number_get_next_ignore_src>,
    .walk = erase<tbl_shape_st_shape_number_walk>,
    .order = erase<tbl_shape_st_shape_number_avl_compare>,
    .print = erase<tbl_shape_table_record_print>,
    .to_xml = erase<tbl_shape_table_record_to_xml>,
    .from_xml = erase<tbl_shape_table_record_from_xml>,
    .len = erase<tbl_shape_table_record_len>,
    .marshal = erase<tbl_shape_table_record_marshal>,
    .unmarshal = erase<tbl_shape_table_record_unmarshal>,
};

static constexpr Table tbl_layer_shape = {
    .name = "tbl_layer_shape",
    .meaning = "the shapes by layer and owner",
    .origin = "shapes.tarn",
    .digest = "40a44263ca6a39163a2daf60464c7d69",
    .record_digest = "74407e7a6aee070a54cc21811686487e",
    .luid = table_tbl_layer_shape_luid,
    .descriptor = &_tbl_layer_shape_table_type_info_internal,
    .record_descriptor = &_tbl_layer_shape_table_record_type_info_internal,
    .type = &st_shape,
    .key_type = &shape_key,
    .key_field = nullptr,
    .open = erase<tbl_layer_shape_table_open>,
    .open_by_id = erase<tbl_layer_shape_table_open_by_id>,
    .free = erase<tbl_layer_shape_table_free>,
    .count = erase<tbl_layer_shape_table_get_count>,
    .count_by_src = erase<tbl_layer_shape_table_get_count_by_src>,
    .create_record = erase<tbl_layer_shape_create_record_w_src>,
    .destroy_record = erase<tbl_layer_shape_destroy_record>,
    .object = erase<tbl_layer_shape_st_shape_get_field>,
    .set_object = erase<tbl_layer_shape_st_shape_set_field>,
    .key_object = erase<tbl_layer_shape_shape_key_get_field>,
    .set_key_object = erase<tbl_layer_shape_shape_key_set_field>,
    .insert = erase<tbl_layer_shape_insert>,
    .erase = erase<tbl_layer_shape_delete>,
    .search_w_src = erase<tbl_layer_shape_shape_key__search_w_src>,
    .search_internal = erase<tbl_layer_shape_shape_key__search_internal>,
    .first_ignore_src = erase<tbl_layer_shape_shape_key__get_first_ignore_src>,
    .next_ignore_src = erase<tbl_layer_shape_shape_key__get_next_ignore_src>,
    .walk = erase<tbl_layer_shape_shape_key__walk>,
    .order = erase<tbl_layer_shape_shape_key__avl_compare>,
    .print = erase<tbl_layer_shape_table_record_print>,
    .to_xml = erase<tbl_layer_shape_table_record_to_xml>,
    .from_xml = erase<tbl_layer_shape_table_record_from_xml>,
    .len = erase<tbl_layer_shape_table_record_len>,
    .marshal = erase<tbl_layer_shape_table_record_marshal>,
    .unmarshal = erase<tbl_layer_shape_table_record_unmarshal>,
};

static constexpr const Enumeration *enumerations[] = {
    &color,
};
static constexpr const Structure *structures[] = {
    &st_corner,
    &st_shape,
    &shape_key,
};
static constexpr const Table *tables[] = {
    &tbl_shape,
    &tbl_layer_shape,
};

}  // namespace item

const Catalogue schema = {"sample", item::enumerations, item::structures, item::tables};

}  // namespace tarnbase::catalogue
