// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from shapes.tarn; changes belong there.
#include "model/st_corner.h"
#include "object/access.h"
#include "object/object.h"

static kel_variant_usage st_corner_usage[] = {
    {0, 25, 15, 0, 0, 0},
};
static kel_variant_info st_corner_variants = {
    1,
    st_corner_usage,
};
const kel_type_info _st_corner_type_info_internal = {
    .magic = KEL_TYPE_INFO_MAGIC,
    .luid = {0x60, 0x2f, 0xa6, 0x02, 0x96, 0xb2, 0x71, 0x94,
             0xbb, 0xab, 0xba, 0xa4, 0x01, 0x03, 0x93, 0x1c},
    .luid_text = "602fa60296b27194bbabbaa40103931c",
    .name = "st_corner",
    .module_name = "sample",
    .kind = "type",
    .type_slot = KEL_TYPE_SLOT_NONE,
    .variant_info = &st_corner_variants,
    .store_private = 0,
};

namespace tarnbase::model {
constinit Fallback<40> st_corner_fallback = {};
}  // namespace tarnbase::model

st_corner *st_corner_create(kel_handle *handle, uint32_t tx_id) {
    return static_cast<st_corner *>(tarnbase::object::create(tarnbase::model::st_corner,
                                                             {handle, tx_id}));
}

st_corner *st_corner_create_internal(kel_handle *handle, uint32_t tx_id) {
    return static_cast<st_corner *>(tarnbase::object::create_internal(tarnbase::model::st_corner,
                                                                      {handle, tx_id}));
}

st_corner *st_corner_create_cr(kel_handle *handle) {
    return static_cast<st_corner *>(tarnbase::object::create_cr(tarnbase::model::st_corner,
                                                                handle));
}

void st_corner_initialize(kel_handle *handle, uint32_t tx_id, st_corner *object,
                          const kel_type_info *descriptor, uint32_t log_writes, uint32_t quiet,
                          uint8_t flags, void *sttr_base, uint32_t *err) {
    tarnbase::object::initialize(tarnbase::model::st_corner, {handle, tx_id, err}, object,
                                 {.descriptor = descriptor, .log_writes = log_writes,
                                  .quiet = quiet, .flags = flags, .sttr_base = sttr_base});
}

void st_corner_set_instance_embedded(kel_handle *handle, uint32_t tx_id, st_corner *object) {
    tarnbase::object::set_instance_embedded(tarnbase::model::st_corner, {handle, tx_id}, object);
}

void st_corner_offset_update(kel_handle *handle, uint32_t tx_id, st_corner *object, void *sttr_base,
                             uint32_t *err) {
    tarnbase::object::offset_update(tarnbase::model::st_corner, {handle, tx_id, err}, object,
                                    sttr_base);
}

void st_corner_offset_remove(kel_handle *handle, uint32_t tx_id, st_corner *object, uint32_t *err) {
    tarnbase::object::offset_remove(tarnbase::model::st_corner, {handle, tx_id, err}, object);
}

uint32_t st_corner_get_oid_count(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                 uint32_t *err) {
    return tarnbase::object::get_oid_count({handle, tx_id, err}, object);
}

void st_corner_get_object_references(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                     uint64_t *, uint32_t, uint32_t *err) {
    tarnbase::object::get_object_references({handle, tx_id, err}, object);
}

uint32_t st_corner_sizeof(kel_handle *handle) {
    return tarnbase::object::size_of(tarnbase::model::st_corner, handle);
}

void st_corner_destroy(kel_handle *handle, uint32_t tx_id, st_corner *object) {
    tarnbase::object::destroy(tarnbase::model::st_corner, {handle, tx_id}, object);
}

void st_corner_destroy_internal(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                uint32_t release) {
    tarnbase::object::destroy_internal(tarnbase::model::st_corner, {handle, tx_id}, object,
                                       tarnbase::release_if(release));
}

void st_corner_destroy_cr(kel_handle *handle, st_corner *object) {
    tarnbase::object::destroy_cr(tarnbase::model::st_corner, handle, object);
}

void st_corner_post_copyout_cleanup(kel_handle *handle, uint32_t tx_id, st_corner *destination,
                                    const st_corner *source, uint32_t *err) {
    tarnbase::object::post_copyout_cleanup(tarnbase::model::st_corner, {handle, tx_id, err},
                                           destination, source);
}

uint32_t st_corner_is_valid_cr(kel_handle *handle, const st_corner *, uint32_t field_index) {
    return tarnbase::object::is_valid_cr(tarnbase::model::st_corner, handle, field_index);
}

int8_t st_corner_variant_data_index_cap(int8_t variant) {
    return tarnbase::object::variant_data_index_cap(tarnbase::model::st_corner, variant);
}

int32_t st_corner_adjust_variant(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                 uint32_t *err) {
    return tarnbase::object::adjust_variant(tarnbase::model::st_corner, {handle, tx_id, err},
                                            object);
}

uint32_t st_corner_type_type_backpropagate(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                           uint32_t *err) {
    return tarnbase::object::type_type_backpropagate(tarnbase::model::st_corner,
                                                     {handle, tx_id, err}, object);
}

void st_corner_set_all_state_tracking_flag(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                           uint8_t flag) {
    tarnbase::object::set_all_state_tracking_flag(tarnbase::model::st_corner, {handle, tx_id},
                                                  object, flag);
}

st_corner *st_corner_get(kel_handle *, uint32_t, st_corner *object, uint32_t *) {
    return object;
}

void st_corner_get_all(kel_handle *handle, uint32_t tx_id, const st_corner *object, int64_t *x,
                       uint8_t *register_, uint32_t *err) {
    tarnbase::object::get_all(tarnbase::model::st_corner, {handle, tx_id, err}, object,
                              {x, register_});
}

void st_corner_set_all(kel_handle *handle, uint32_t tx_id, st_corner *object, int64_t x,
                       uint8_t register_, uint32_t *err) {
    tarnbase::object::set_all(tarnbase::model::st_corner, {handle, tx_id, err}, object,
                              {static_cast<std::uint64_t>(x), register_});
}

void st_corner_set(kel_handle *handle, uint32_t tx_id, st_corner *destination,
                   const st_corner *source, uint32_t *err) {
    tarnbase::object::set(tarnbase::model::st_corner, {handle, tx_id, err}, destination, source);
}

int32_t st_corner_compare(const st_corner *a, const st_corner *b) {
    return tarnbase::object::compare(tarnbase::model::st_corner, a, b);
}

uint32_t st_corner_hash(const st_corner *object, uint32_t seed) {
    return tarnbase::object::hash(tarnbase::model::st_corner, object, seed);
}

uint32_t st_corner_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                           const st_corner *object, uint32_t buffer_len, uint32_t *err) {
    return tarnbase::object::marshal(tarnbase::model::st_corner, {handle, tx_id, err},
                                     {buffer, buffer_len}, object);
}

uint32_t st_corner_marshal_for_clone(kel_handle *handle, uint32_t tx_id, void *buffer,
                                     const st_corner *object, uint32_t buffer_len, uint32_t *err) {
    return tarnbase::object::marshal_for_clone(tarnbase::model::st_corner, {handle, tx_id, err},
                                               {buffer, buffer_len}, object);
}

uint32_t st_corner_unmarshal(kel_handle *handle, uint32_t tx_id, const void *buffer,
                             st_corner *object, uint32_t buffer_len, uint32_t in_place,
                             uint32_t *err) {
    return tarnbase::object::unmarshal(tarnbase::model::st_corner, {handle, tx_id, err},
                                       {buffer, buffer_len}, object, tarnbase::InPlace{in_place});
}

uint32_t st_corner_len(kel_handle *handle, uint32_t tx_id, const st_corner *object) {
    return tarnbase::object::len(tarnbase::model::st_corner, {handle, tx_id}, object);
}

uint32_t st_corner_len_cr(kel_handle *handle, const st_corner *object) {
    return tarnbase::object::len_cr(tarnbase::model::st_corner, handle, object);
}

void st_corner_clone(kel_handle *handle, uint32_t tx_id, const st_corner *source,
                     st_corner **result, void *workspace, uint32_t workspace_len, uint32_t *err) {
    tarnbase::object::clone(tarnbase::model::st_corner, {handle, tx_id, err}, source,
                            reinterpret_cast<void **>(result), {workspace, workspace_len});
}

st_corner *st_corner_clone_cr(kel_handle *handle, const st_corner *source) {
    return static_cast<st_corner *>(tarnbase::object::clone_cr(tarnbase::model::st_corner, handle,
                                                               source));
}

void st_corner_copy_cr(kel_handle *handle, const st_corner *source, st_corner *destination) {
    tarnbase::object::copy_cr(tarnbase::model::st_corner, handle, source, destination);
}

uint32_t st_corner_print(kel_handle *handle, uint32_t tx_id, char *buffer, uint32_t indent,
                         const char *name, const st_corner *object, uint32_t buffer_len,
                         uint32_t *err) {
    return tarnbase::object::print(tarnbase::model::st_corner, {handle, tx_id, err},
                                   {buffer, buffer_len}, {name, indent}, object);
}

uint32_t st_corner_print_cr(kel_handle *handle, const st_corner *object, char *buffer,
                            uint32_t buffer_len) {
    return tarnbase::object::print_cr(tarnbase::model::st_corner, handle, {buffer, buffer_len},
                                      object);
}

uint32_t st_corner_to_xml(kel_handle *handle, uint32_t tx_id, const char *name, char *buffer,
                          const st_corner *object, uint32_t buffer_len, uint8_t state_flag,
                          uint32_t *err) {
    return tarnbase::object::to_xml(tarnbase::model::st_corner, {handle, tx_id, err},
                                    {buffer, buffer_len}, {name, state_flag}, object);
}

uint32_t st_corner_toxml_cr(kel_handle *handle, const st_corner *object, char *buffer,
                            uint32_t buffer_len) {
    return tarnbase::object::toxml_cr(tarnbase::model::st_corner, handle, {buffer, buffer_len},
                                      object);
}

void st_corner_from_xml(kel_handle *handle, uint32_t tx_id, const char *path, void *document,
                        st_corner *object, uint32_t *err, char *message, uint32_t message_len) {
    tarnbase::object::from_xml(tarnbase::model::st_corner, {handle, tx_id, err},
                               {document, path, message, message_len}, object);
}

int64_t *st_corner_x_get(kel_handle *handle, uint32_t tx_id, st_corner *object, uint32_t *err) {
    return static_cast<int64_t *>(tarnbase::object::get<tarnbase::model::st_corner,
                                                        0>({handle, tx_id, err}, object));
}

void st_corner_x_set(kel_handle *handle, uint32_t tx_id, st_corner *object, const int64_t *source,
                     uint32_t *err) {
    tarnbase::object::set<tarnbase::model::st_corner, 0>({handle, tx_id, err}, object, source);
}

int64_t st_corner_x_get_value(kel_handle *handle, uint32_t tx_id, st_corner *object,
                              uint32_t *err) {
    return tarnbase::object::get_value<tarnbase::model::st_corner, 0>({handle, tx_id, err}, object);
}

void st_corner_x_set_value(kel_handle *handle, uint32_t tx_id, st_corner *object, int64_t value,
                           uint32_t *err) {
    tarnbase::object::set_value<tarnbase::model::st_corner, 0>({handle, tx_id, err}, object, value);
}

uint8_t st_corner_x_state_flag_get(kel_handle *handle, uint32_t tx_id, const st_corner *object,
                                   uint32_t *err) {
    return tarnbase::object::state_flag_get({tarnbase::model::st_corner,
                                             tarnbase::model::st_corner_fields[0]},
                                            {handle, tx_id, err}, object);
}

void st_corner_x_state_flag_set(kel_handle *handle, uint32_t tx_id, st_corner *object, uint8_t flag,
                                uint32_t *err) {
    tarnbase::object::state_flag_set({tarnbase::model::st_corner,
                                      tarnbase::model::st_corner_fields[0]}, {handle, tx_id, err},
                                     object, flag);
}

uint8_t *st_corner_register_get(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                uint32_t *err) {
    return static_cast<uint8_t *>(tarnbase::object::get<tarnbase::model::st_corner,
                                                        1>({handle, tx_id, err}, object));
}

void st_corner_register_set(kel_handle *handle, uint32_t tx_id, st_corner *object,
                            const uint8_t *source, uint32_t *err) {
    tarnbase::object::set<tarnbase::model::st_corner, 1>({handle, tx_id, err}, object, source);
}

uint8_t st_corner_register_get_value(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                     uint32_t *err) {
    return tarnbase::object::get_value<tarnbase::model::st_corner, 1>({handle, tx_id, err}, object);
}

void st_corner_register_set_value(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                  uint8_t value, uint32_t *err) {
    tarnbase::object::set_value<tarnbase::model::st_corner, 1>({handle, tx_id, err}, object, value);
}

uint8_t st_corner_register_state_flag_get(kel_handle *handle, uint32_t tx_id,
                                          const st_corner *object, uint32_t *err) {
    return tarnbase::object::state_flag_get({tarnbase::model::st_corner,
                                             tarnbase::model::st_corner_fields[1]},
                                            {handle, tx_id, err}, object);
}

void st_corner_register_state_flag_set(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                       uint8_t flag, uint32_t *err) {
    tarnbase::object::state_flag_set({tarnbase::model::st_corner,
                                      tarnbase::model::st_corner_fields[1]}, {handle, tx_id, err},
                                     object, flag);
}

