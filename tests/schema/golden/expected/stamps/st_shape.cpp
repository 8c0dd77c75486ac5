// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from shapes.tarn; changes belong there.
#include "model/st_shape.h"
#include "object/access.h"
#include "object/object.h"

static kel_variant_usage st_shape_usage[] = {
    {0, 76, 36, 0, 0, 0},
    {1, 96, 16, 0, 0, 0},
};
static kel_variant_info st_shape_variants = {
    2,
    st_shape_usage,
};
const kel_type_info _st_shape_type_info_internal = {
    .magic = KEL_TYPE_INFO_MAGIC,
    .luid = {0x5a, 0x5a, 0x5a, 0x5a, 0x5a, 0x5a, 0x5a, 0x5a,
             0x5a, 0x5a, 0x5a, 0x5a, 0x5a, 0x5a, 0x5a, 0x5a},
    .luid_text = "5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a",
    .name = "st_shape",
    .module_name = "sample",
    .kind = "type",
    .type_slot = KEL_TYPE_SLOT_NONE,
    .variant_info = &st_shape_variants,
    .store_private = 0,
};

namespace tarnbase::model {
constinit Fallback<112> st_shape_fallback = {};
}  // namespace tarnbase::model

st_shape *st_shape_create(kel_handle *handle, uint32_t tx_id) {
    return static_cast<st_shape *>(tarnbase::object::create(tarnbase::model::st_shape,
                                                            {handle, tx_id}));
}

st_shape *st_shape_create_internal(kel_handle *handle, uint32_t tx_id) {
    return static_cast<st_shape *>(tarnbase::object::create_internal(tarnbase::model::st_shape,
                                                                     {handle, tx_id}));
}

st_shape *st_shape_create_cr(kel_handle *handle) {
    return static_cast<st_shape *>(tarnbase::object::create_cr(tarnbase::model::st_shape, handle));
}

void st_shape_initialize(kel_handle *handle, uint32_t tx_id, st_shape *object,
                         const kel_type_info *descriptor, uint32_t log_writes, uint32_t quiet,
                         uint8_t flags, void *sttr_base, uint32_t *err) {
    tarnbase::object::initialize(tarnbase::model::st_shape, {handle, tx_id, err}, object,
                                 {.descriptor = descriptor, .log_writes = log_writes,
                                  .quiet = quiet, .flags = flags, .sttr_base = sttr_base});
}

void st_shape_set_instance_embedded(kel_handle *handle, uint32_t tx_id, st_shape *object) {
    tarnbase::object::set_instance_embedded(tarnbase::model::st_shape, {handle, tx_id}, object);
}

void st_shape_offset_update(kel_handle *handle, uint32_t tx_id, st_shape *object, void *sttr_base,
                            uint32_t *err) {
    tarnbase::object::offset_update(tarnbase::model::st_shape, {handle, tx_id, err}, object,
                                    sttr_base);
}

void st_shape_offset_remove(kel_handle *handle, uint32_t tx_id, st_shape *object, uint32_t *err) {
    tarnbase::object::offset_remove(tarnbase::model::st_shape, {handle, tx_id, err}, object);
}

uint32_t st_shape_get_oid_count(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                uint32_t *err) {
    return tarnbase::object::get_oid_count({handle, tx_id, err}, object);
}

void st_shape_get_object_references(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                    uint64_t *, uint32_t, uint32_t *err) {
    tarnbase::object::get_object_references({handle, tx_id, err}, object);
}

uint32_t st_shape_sizeof(kel_handle *handle) {
    return tarnbase::object::size_of(tarnbase::model::st_shape, handle);
}

void st_shape_destroy(kel_handle *handle, uint32_t tx_id, st_shape *object) {
    tarnbase::object::destroy(tarnbase::model::st_shape, {handle, tx_id}, object);
}

void st_shape_destroy_internal(kel_handle *handle, uint32_t tx_id, st_shape *object,
                               uint32_t release) {
    tarnbase::object::destroy_internal(tarnbase::model::st_shape, {handle, tx_id}, object,
                                       tarnbase::release_if(release));
}

void st_shape_destroy_cr(kel_handle *handle, st_shape *object) {
    tarnbase::object::destroy_cr(tarnbase::model::st_shape, handle, object);
}

void st_shape_post_copyout_cleanup(kel_handle *handle, uint32_t tx_id, st_shape *destination,
                                   const st_shape *source, uint32_t *err) {
    tarnbase::object::post_copyout_cleanup(tarnbase::model::st_shape, {handle, tx_id, err},
                                           destination, source);
}

uint32_t st_shape_is_valid_cr(kel_handle *handle, const st_shape *, uint32_t field_index) {
    return tarnbase::object::is_valid_cr(tarnbase::model::st_shape, handle, field_index);
}

int8_t st_shape_variant_data_index_cap(int8_t variant) {
    return tarnbase::object::variant_data_index_cap(tarnbase::model::st_shape, variant);
}

int32_t st_shape_adjust_variant(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                uint32_t *err) {
    return tarnbase::object::adjust_variant(tarnbase::model::st_shape, {handle, tx_id, err},
                                            object);
}

uint32_t st_shape_type_type_backpropagate(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                          uint32_t *err) {
    return tarnbase::object::type_type_backpropagate(tarnbase::model::st_shape,
                                                     {handle, tx_id, err}, object);
}

void st_shape_set_all_state_tracking_flag(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                          uint8_t flag) {
    tarnbase::object::set_all_state_tracking_flag(tarnbase::model::st_shape, {handle, tx_id},
                                                  object, flag);
}

st_shape *st_shape_get(kel_handle *, uint32_t, st_shape *object, uint32_t *) {
    return object;
}

void st_shape_get_all(kel_handle *handle, uint32_t tx_id, const st_shape *object, uint8_t *sides,
                      uint32_t *number, uint32_t *color_, uint32_t *filled, uint32_t *err) {
    tarnbase::object::get_all(tarnbase::model::st_shape, {handle, tx_id, err}, object,
                              {sides, number, color_, filled});
}

void st_shape_set_all(kel_handle *handle, uint32_t tx_id, st_shape *object, uint8_t sides,
                      uint32_t number, uint32_t color_, uint32_t filled, uint32_t *err) {
    tarnbase::object::set_all(tarnbase::model::st_shape, {handle, tx_id, err}, object,
                              {sides, number, color_, filled});
}

void st_shape_set(kel_handle *handle, uint32_t tx_id, st_shape *destination, const st_shape *source,
                  uint32_t *err) {
    tarnbase::object::set(tarnbase::model::st_shape, {handle, tx_id, err}, destination, source);
}

int32_t st_shape_compare(const st_shape *a, const st_shape *b) {
    return tarnbase::object::compare(tarnbase::model::st_shape, a, b);
}

uint32_t st_shape_hash(const st_shape *object, uint32_t seed) {
    return tarnbase::object::hash(tarnbase::model::st_shape, object, seed);
}

uint32_t st_shape_marshal(kel_handle *handle, uint32_t tx_id, void *buffer, const st_shape *object,
                          uint32_t buffer_len, uint32_t *err) {
    return tarnbase::object::marshal(tarnbase::model::st_shape, {handle, tx_id, err},
                                     {buffer, buffer_len}, object);
}

uint32_t st_shape_marshal_for_clone(kel_handle *handle, uint32_t tx_id, void *buffer,
                                    const st_shape *object, uint32_t buffer_len, uint32_t *err) {
    return tarnbase::object::marshal_for_clone(tarnbase::model::st_shape, {handle, tx_id, err},
                                               {buffer, buffer_len}, object);
}

uint32_t st_shape_unmarshal(kel_handle *handle, uint32_t tx_id, const void *buffer,
                            st_shape *object, uint32_t buffer_len, uint32_t in_place,
                            uint32_t *err) {
    return tarnbase::object::unmarshal(tarnbase::model::st_shape, {handle, tx_id, err},
                                       {buffer, buffer_len}, object, tarnbase::InPlace{in_place});
}

uint32_t st_shape_len(kel_handle *handle, uint32_t tx_id, const st_shape *object) {
    return tarnbase::object::len(tarnbase::model::st_shape, {handle, tx_id}, object);
}

uint32_t st_shape_len_cr(kel_handle *handle, const st_shape *object) {
    return tarnbase::object::len_cr(tarnbase::model::st_shape, handle, object);
}

void st_shape_clone(kel_handle *handle, uint32_t tx_id, const st_shape *source, st_shape **result,
                    void *workspace, uint32_t workspace_len, uint32_t *err) {
    tarnbase::object::clone(tarnbase::model::st_shape, {handle, tx_id, err}, source,
                            reinterpret_cast<void **>(result), {workspace, workspace_len});
}

st_shape *st_shape_clone_cr(kel_handle *handle, const st_shape *source) {
    return static_cast<st_shape *>(tarnbase::object::clone_cr(tarnbase::model::st_shape, handle,
                                                              source));
}

void st_shape_copy_cr(kel_handle *handle, const st_shape *source, st_shape *destination) {
    tarnbase::object::copy_cr(tarnbase::model::st_shape, handle, source, destination);
}

uint32_t st_shape_print(kel_handle *handle, uint32_t tx_id, char *buffer, uint32_t indent,
                        const char *name, const st_shape *object, uint32_t buffer_len,
                        uint32_t *err) {
    return tarnbase::object::print(tarnbase::model::st_shape, {handle, tx_id, err},
                                   {buffer, buffer_len}, {name, indent}, object);
}

uint32_t st_shape_print_cr(kel_handle *handle, const st_shape *object, char *buffer,
                           uint32_t buffer_len) {
    return tarnbase::object::print_cr(tarnbase::model::st_shape, handle, {buffer, buffer_len},
                                      object);
}

uint32_t st_shape_to_xml(kel_handle *handle, uint32_t tx_id, const char *name, char *buffer,
                         const st_shape *object, uint32_t buffer_len, uint8_t state_flag,
                         uint32_t *err) {
    return tarnbase::object::to_xml(tarnbase::model::st_shape, {handle, tx_id, err},
                                    {buffer, buffer_len}, {name, state_flag}, object);
}

uint32_t st_shape_toxml_cr(kel_handle *handle, const st_shape *object, char *buffer,
                           uint32_t buffer_len) {
    return tarnbase::object::toxml_cr(tarnbase::model::st_shape, handle, {buffer, buffer_len},
                                      object);
}

void st_shape_from_xml(kel_handle *handle, uint32_t tx_id, const char *path, void *document,
                       st_shape *object, uint32_t *err, char *message, uint32_t message_len) {
    tarnbase::object::from_xml(tarnbase::model::st_shape, {handle, tx_id, err},
                               {document, path, message, message_len}, object);
}

uint8_t *st_shape_sides_get(kel_handle *handle, uint32_t tx_id, st_shape *object, uint32_t *err) {
    return static_cast<uint8_t *>(tarnbase::object::get<tarnbase::model::st_shape,
                                                        0>({handle, tx_id, err}, object));
}

void st_shape_sides_set(kel_handle *handle, uint32_t tx_id, st_shape *object, const uint8_t *source,
                        uint32_t *err) {
    tarnbase::object::set<tarnbase::model::st_shape, 0>({handle, tx_id, err}, object, source);
}

uint8_t st_shape_sides_get_value(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                 uint32_t *err) {
    return tarnbase::object::get_value<tarnbase::model::st_shape, 0>({handle, tx_id, err}, object);
}

void st_shape_sides_set_value(kel_handle *handle, uint32_t tx_id, st_shape *object, uint8_t value,
                              uint32_t *err) {
    tarnbase::object::set_value<tarnbase::model::st_shape, 0>({handle, tx_id, err}, object, value);
}

uint8_t st_shape_sides_state_flag_get(kel_handle *handle, uint32_t tx_id, const st_shape *object,
                                      uint32_t *err) {
    return tarnbase::object::state_flag_get({tarnbase::model::st_shape,
                                             tarnbase::model::st_shape_fields[0]},
                                            {handle, tx_id, err}, object);
}

void st_shape_sides_state_flag_set(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                   uint8_t flag, uint32_t *err) {
    tarnbase::object::state_flag_set({tarnbase::model::st_shape,
                                      tarnbase::model::st_shape_fields[0]}, {handle, tx_id, err},
                                     object, flag);
}

uint32_t *st_shape_number_get(kel_handle *handle, uint32_t tx_id, st_shape *object, uint32_t *err) {
    return static_cast<uint32_t *>(tarnbase::object::get<tarnbase::model::st_shape,
                                                         1>({handle, tx_id, err}, object));
}

void st_shape_number_set(kel_handle *handle, uint32_t tx_id, st_shape *object,
                         const uint32_t *source, uint32_t *err) {
    tarnbase::object::set<tarnbase::model::st_shape, 1>({handle, tx_id, err}, object, source);
}

uint32_t st_shape_number_get_value(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                   uint32_t *err) {
    return tarnbase::object::get_value<tarnbase::model::st_shape, 1>({handle, tx_id, err}, object);
}

void st_shape_number_set_value(kel_handle *handle, uint32_t tx_id, st_shape *object, uint32_t value,
                               uint32_t *err) {
    tarnbase::object::set_value<tarnbase::model::st_shape, 1>({handle, tx_id, err}, object, value);
}

uint8_t st_shape_number_state_flag_get(kel_handle *handle, uint32_t tx_id, const st_shape *object,
                                       uint32_t *err) {
    return tarnbase::object::state_flag_get({tarnbase::model::st_shape,
                                             tarnbase::model::st_shape_fields[1]},
                                            {handle, tx_id, err}, object);
}

void st_shape_number_state_flag_set(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                    uint8_t flag, uint32_t *err) {
    tarnbase::object::state_flag_set({tarnbase::model::st_shape,
                                      tarnbase::model::st_shape_fields[1]}, {handle, tx_id, err},
                                     object, flag);
}

color *st_shape_color_get(kel_handle *handle, uint32_t tx_id, st_shape *object, uint32_t *err) {
    return static_cast<color *>(tarnbase::object::get<tarnbase::model::st_shape,
                                                      2>({handle, tx_id, err}, object));
}

void st_shape_color_set(kel_handle *handle, uint32_t tx_id, st_shape *object, const color *source,
                        uint32_t *err) {
    tarnbase::object::set<tarnbase::model::st_shape, 2>({handle, tx_id, err}, object, source);
}

uint32_t st_shape_color_get_value(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                  uint32_t *err) {
    return tarnbase::object::get_value<tarnbase::model::st_shape, 2>({handle, tx_id, err}, object);
}

void st_shape_color_set_value(kel_handle *handle, uint32_t tx_id, st_shape *object, uint32_t value,
                              uint32_t *err) {
    tarnbase::object::set_value<tarnbase::model::st_shape, 2>({handle, tx_id, err}, object, value);
}

uint8_t st_shape_color_state_flag_get(kel_handle *handle, uint32_t tx_id, const st_shape *object,
                                      uint32_t *err) {
    return tarnbase::object::state_flag_get({tarnbase::model::st_shape,
                                             tarnbase::model::st_shape_fields[2]},
                                            {handle, tx_id, err}, object);
}

void st_shape_color_state_flag_set(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                   uint8_t flag, uint32_t *err) {
    tarnbase::object::state_flag_set({tarnbase::model::st_shape,
                                      tarnbase::model::st_shape_fields[2]}, {handle, tx_id, err},
                                     object, flag);
}

st_corner *st_shape_first_get(kel_handle *handle, uint32_t tx_id, st_shape *object, uint32_t *err) {
    return static_cast<st_corner *>(tarnbase::object::get<tarnbase::model::st_shape,
                                                          3>({handle, tx_id, err}, object));
}

void st_shape_first_set(kel_handle *handle, uint32_t tx_id, st_shape *object,
                        const st_corner *source, uint32_t *err) {
    tarnbase::object::set<tarnbase::model::st_shape, 3>({handle, tx_id, err}, object, source);
}

uint8_t st_shape_first_state_flag_get(kel_handle *handle, uint32_t tx_id, const st_shape *object,
                                      uint32_t *err) {
    return tarnbase::object::state_flag_get({tarnbase::model::st_shape,
                                             tarnbase::model::st_shape_fields[3]},
                                            {handle, tx_id, err}, object);
}

void st_shape_first_state_flag_set(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                   uint8_t flag, uint32_t *err) {
    tarnbase::object::state_flag_set({tarnbase::model::st_shape,
                                      tarnbase::model::st_shape_fields[3]}, {handle, tx_id, err},
                                     object, flag);
}

uint8_t *st_shape_pattern_get(kel_handle *handle, uint32_t tx_id, st_shape *object, uint32_t index,
                              uint32_t *err) {
    return tarnbase::object::array_get({tarnbase::model::st_shape,
                                        tarnbase::model::st_shape_fields[4]}, {handle, tx_id, err},
                                       object, index);
}

uint8_t st_shape_pattern_get_value(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                   uint32_t index, uint32_t *err) {
    return tarnbase::object::array_get_value({tarnbase::model::st_shape,
                                              tarnbase::model::st_shape_fields[4]},
                                             {handle, tx_id, err}, object, index);
}

void st_shape_pattern_get_mem(kel_handle *handle, uint32_t tx_id, const st_shape *object, void *out,
                              int32_t length, uint32_t *err) {
    tarnbase::object::array_get_mem({tarnbase::model::st_shape,
                                     tarnbase::model::st_shape_fields[4]}, {handle, tx_id, err},
                                    object, out, length);
}

void st_shape_pattern_set(kel_handle *handle, uint32_t tx_id, st_shape *object, uint32_t index,
                          const uint8_t *source, uint32_t *err) {
    tarnbase::object::array_set({tarnbase::model::st_shape, tarnbase::model::st_shape_fields[4]},
                                {handle, tx_id, err}, object, index, source);
}

void st_shape_pattern_set_value(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                uint32_t index, uint8_t value, uint32_t *err) {
    tarnbase::object::array_set_value({tarnbase::model::st_shape,
                                       tarnbase::model::st_shape_fields[4]}, {handle, tx_id, err},
                                      object, index, value);
}

void st_shape_pattern_set_mem(kel_handle *handle, uint32_t tx_id, st_shape *object,
                              const void *source, int32_t length, uint32_t *err) {
    tarnbase::object::array_set_mem({tarnbase::model::st_shape,
                                     tarnbase::model::st_shape_fields[4]}, {handle, tx_id, err},
                                    object, source, length);
}

uint32_t st_shape_pattern_set_mem_cr(kel_handle *handle, st_shape *object, const void *source,
                                     int32_t length) {
    return tarnbase::object::array_set_mem_cr({tarnbase::model::st_shape,
                                               tarnbase::model::st_shape_fields[4]}, handle, object,
                                              source, length);
}

uint8_t st_shape_pattern_state_flag_whole_get(kel_handle *handle, uint32_t tx_id,
                                              const st_shape *object, uint32_t *err) {
    return tarnbase::object::state_flag_get({tarnbase::model::st_shape,
                                             tarnbase::model::st_shape_fields[4]},
                                            {handle, tx_id, err}, object);
}

void st_shape_pattern_state_flag_whole_set(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                           uint8_t flag, uint32_t *err) {
    tarnbase::object::state_flag_set({tarnbase::model::st_shape,
                                      tarnbase::model::st_shape_fields[4]}, {handle, tx_id, err},
                                     object, flag);
}

uint8_t st_shape_pattern_state_flag_get(kel_handle *handle, uint32_t tx_id, const st_shape *object,
                                        uint32_t index, uint32_t *err) {
    return tarnbase::object::array_state_flag_get({tarnbase::model::st_shape,
                                                   tarnbase::model::st_shape_fields[4]},
                                                  {handle, tx_id, err}, object, index);
}

void st_shape_pattern_state_flag_get_arr(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                         uint8_t **out, uint32_t *err) {
    tarnbase::object::array_state_flag_get_arr({tarnbase::model::st_shape,
                                                tarnbase::model::st_shape_fields[4]},
                                               {handle, tx_id, err}, object, out);
}

void st_shape_pattern_state_flag_set(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                     uint32_t index, uint8_t flag, uint32_t *err) {
    tarnbase::object::array_state_flag_set({tarnbase::model::st_shape,
                                            tarnbase::model::st_shape_fields[4]},
                                           {handle, tx_id, err}, object, index, flag);
}

void st_shape_pattern_state_flag_set_arr(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                         const void *source, uint32_t length, uint32_t *err) {
    tarnbase::object::array_state_flag_set_arr({tarnbase::model::st_shape,
                                                tarnbase::model::st_shape_fields[4]},
                                               {handle, tx_id, err}, object, source, length);
}

kel_boolean *st_shape_filled_get(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                 uint32_t *err) {
    return static_cast<kel_boolean *>(tarnbase::object::get<tarnbase::model::st_shape,
                                                            5>({handle, tx_id, err}, object));
}

void st_shape_filled_set(kel_handle *handle, uint32_t tx_id, st_shape *object,
                         const kel_boolean *source, uint32_t *err) {
    tarnbase::object::set<tarnbase::model::st_shape, 5>({handle, tx_id, err}, object, source);
}

uint32_t st_shape_filled_get_value(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                   uint32_t *err) {
    return tarnbase::object::get_value<tarnbase::model::st_shape, 5>({handle, tx_id, err}, object);
}

void st_shape_filled_set_value(kel_handle *handle, uint32_t tx_id, st_shape *object, uint32_t value,
                               uint32_t *err) {
    tarnbase::object::set_value<tarnbase::model::st_shape, 5>({handle, tx_id, err}, object, value);
}

uint8_t st_shape_filled_state_flag_get(kel_handle *handle, uint32_t tx_id, const st_shape *object,
                                       uint32_t *err) {
    return tarnbase::object::state_flag_get({tarnbase::model::st_shape,
                                             tarnbase::model::st_shape_fields[5]},
                                            {handle, tx_id, err}, object);
}

void st_shape_filled_state_flag_set(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                    uint8_t flag, uint32_t *err) {
    tarnbase::object::state_flag_set({tarnbase::model::st_shape,
                                      tarnbase::model::st_shape_fields[5]}, {handle, tx_id, err},
                                     object, flag);
}

