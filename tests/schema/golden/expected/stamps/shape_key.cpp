// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from shapes.tarn; changes belong there.
#include "model/shape_key.h"
#include "object/access.h"
#include "object/object.h"

static kel_variant_usage shape_key_usage[] = {
    {0, 80, 16, 0, 0, 0},
};
static kel_variant_info shape_key_variants = {
    1,
    shape_key_usage,
};
const kel_type_info _shape_key_type_info_internal = {
    .magic = KEL_TYPE_INFO_MAGIC,
    .luid = {0xb0, 0x56, 0x64, 0x95, 0x5d, 0x77, 0xbd, 0x8c,
             0x36, 0x0b, 0x88, 0x43, 0x3b, 0x08, 0x93, 0xf9},
    .luid_text = "b05664955d77bd8c360b88433b0893f9",
    .name = "shape_key",
    .module_name = "sample",
    .kind = "type",
    .type_slot = KEL_TYPE_SLOT_NONE,
    .variant_info = &shape_key_variants,
    .store_private = 0,
};

namespace tarnbase::model {
constinit Fallback<96> shape_key_fallback = {};
}  // namespace tarnbase::model

shape_key *shape_key_create(kel_handle *handle, uint32_t tx_id) {
    return static_cast<shape_key *>(tarnbase::object::create(tarnbase::model::shape_key,
                                                             {handle, tx_id}));
}

shape_key *shape_key_create_internal(kel_handle *handle, uint32_t tx_id) {
    return static_cast<shape_key *>(tarnbase::object::create_internal(tarnbase::model::shape_key,
                                                                      {handle, tx_id}));
}

shape_key *shape_key_create_cr(kel_handle *handle) {
    return static_cast<shape_key *>(tarnbase::object::create_cr(tarnbase::model::shape_key,
                                                                handle));
}

void shape_key_initialize(kel_handle *handle, uint32_t tx_id, shape_key *object,
                          const kel_type_info *descriptor, uint32_t log_writes, uint32_t quiet,
                          uint8_t flags, void *sttr_base, uint32_t *err) {
    tarnbase::object::initialize(tarnbase::model::shape_key, {handle, tx_id, err}, object,
                                 {.descriptor = descriptor, .log_writes = log_writes,
                                  .quiet = quiet, .flags = flags, .sttr_base = sttr_base});
}

void shape_key_set_instance_embedded(kel_handle *handle, uint32_t tx_id, shape_key *object) {
    tarnbase::object::set_instance_embedded(tarnbase::model::shape_key, {handle, tx_id}, object);
}

void shape_key_offset_update(kel_handle *handle, uint32_t tx_id, shape_key *object, void *sttr_base,
                             uint32_t *err) {
    tarnbase::object::offset_update(tarnbase::model::shape_key, {handle, tx_id, err}, object,
                                    sttr_base);
}

void shape_key_offset_remove(kel_handle *handle, uint32_t tx_id, shape_key *object, uint32_t *err) {
    tarnbase::object::offset_remove(tarnbase::model::shape_key, {handle, tx_id, err}, object);
}

uint32_t shape_key_get_oid_count(kel_handle *handle, uint32_t tx_id, shape_key *object,
                                 uint32_t *err) {
    return tarnbase::object::get_oid_count({handle, tx_id, err}, object);
}

void shape_key_get_object_references(kel_handle *handle, uint32_t tx_id, shape_key *object,
                                     uint64_t *, uint32_t, uint32_t *err) {
    tarnbase::object::get_object_references({handle, tx_id, err}, object);
}

uint32_t shape_key_sizeof(kel_handle *handle) {
    return tarnbase::object::size_of(tarnbase::model::shape_key, handle);
}

void shape_key_destroy(kel_handle *handle, uint32_t tx_id, shape_key *object) {
    tarnbase::object::destroy(tarnbase::model::shape_key, {handle, tx_id}, object);
}

void shape_key_destroy_internal(kel_handle *handle, uint32_t tx_id, shape_key *object,
                                uint32_t release) {
    tarnbase::object::destroy_internal(tarnbase::model::shape_key, {handle, tx_id}, object,
                                       tarnbase::release_if(release));
}

void shape_key_destroy_cr(kel_handle *handle, shape_key *object) {
    tarnbase::object::destroy_cr(tarnbase::model::shape_key, handle, object);
}

void shape_key_post_copyout_cleanup(kel_handle *handle, uint32_t tx_id, shape_key *destination,
                                    const shape_key *source, uint32_t *err) {
    tarnbase::object::post_copyout_cleanup(tarnbase::model::shape_key, {handle, tx_id, err},
                                           destination, source);
}

uint32_t shape_key_is_valid_cr(kel_handle *handle, const shape_key *, uint32_t field_index) {
    return tarnbase::object::is_valid_cr(tarnbase::model::shape_key, handle, field_index);
}

int8_t shape_key_variant_data_index_cap(int8_t variant) {
    return tarnbase::object::variant_data_index_cap(tarnbase::model::shape_key, variant);
}

int32_t shape_key_adjust_variant(kel_handle *handle, uint32_t tx_id, shape_key *object,
                                 uint32_t *err) {
    return tarnbase::object::adjust_variant(tarnbase::model::shape_key, {handle, tx_id, err},
                                            object);
}

uint32_t shape_key_type_type_backpropagate(kel_handle *handle, uint32_t tx_id, shape_key *object,
                                           uint32_t *err) {
    return tarnbase::object::type_type_backpropagate(tarnbase::model::shape_key,
                                                     {handle, tx_id, err}, object);
}

void shape_key_set_all_state_tracking_flag(kel_handle *handle, uint32_t tx_id, shape_key *object,
                                           uint8_t flag) {
    tarnbase::object::set_all_state_tracking_flag(tarnbase::model::shape_key, {handle, tx_id},
                                                  object, flag);
}

shape_key *shape_key_get(kel_handle *, uint32_t, shape_key *object, uint32_t *) {
    return object;
}

void shape_key_get_all(kel_handle *handle, uint32_t tx_id, const shape_key *object, uint32_t *err) {
    tarnbase::object::get_all(tarnbase::model::shape_key, {handle, tx_id, err}, object, {});
}

void shape_key_set_all(kel_handle *handle, uint32_t tx_id, shape_key *object, uint32_t *err) {
    tarnbase::object::set_all(tarnbase::model::shape_key, {handle, tx_id, err}, object, {});
}

void shape_key_set(kel_handle *handle, uint32_t tx_id, shape_key *destination,
                   const shape_key *source, uint32_t *err) {
    tarnbase::object::set(tarnbase::model::shape_key, {handle, tx_id, err}, destination, source);
}

int32_t shape_key_compare(const shape_key *a, const shape_key *b) {
    return tarnbase::object::compare(tarnbase::model::shape_key, a, b);
}

uint32_t shape_key_hash(const shape_key *object, uint32_t seed) {
    return tarnbase::object::hash(tarnbase::model::shape_key, object, seed);
}

uint32_t shape_key_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                           const shape_key *object, uint32_t buffer_len, uint32_t *err) {
    return tarnbase::object::marshal(tarnbase::model::shape_key, {handle, tx_id, err},
                                     {buffer, buffer_len}, object);
}

uint32_t shape_key_marshal_for_clone(kel_handle *handle, uint32_t tx_id, void *buffer,
                                     const shape_key *object, uint32_t buffer_len, uint32_t *err) {
    return tarnbase::object::marshal_for_clone(tarnbase::model::shape_key, {handle, tx_id, err},
                                               {buffer, buffer_len}, object);
}

uint32_t shape_key_unmarshal(kel_handle *handle, uint32_t tx_id, const void *buffer,
                             shape_key *object, uint32_t buffer_len, uint32_t in_place,
                             uint32_t *err) {
    return tarnbase::object::unmarshal(tarnbase::model::shape_key, {handle, tx_id, err},
                                       {buffer, buffer_len}, object, tarnbase::InPlace{in_place});
}

uint32_t shape_key_len(kel_handle *handle, uint32_t tx_id, const shape_key *object) {
    return tarnbase::object::len(tarnbase::model::shape_key, {handle, tx_id}, object);
}

uint32_t shape_key_len_cr(kel_handle *handle, const shape_key *object) {
    return tarnbase::object::len_cr(tarnbase::model::shape_key, handle, object);
}

void shape_key_clone(kel_handle *handle, uint32_t tx_id, const shape_key *source,
                     shape_key **result, void *workspace, uint32_t workspace_len, uint32_t *err) {
    tarnbase::object::clone(tarnbase::model::shape_key, {handle, tx_id, err}, source,
                            reinterpret_cast<void **>(result), {workspace, workspace_len});
}

shape_key *shape_key_clone_cr(kel_handle *handle, const shape_key *source) {
    return static_cast<shape_key *>(tarnbase::object::clone_cr(tarnbase::model::shape_key, handle,
                                                               source));
}

void shape_key_copy_cr(kel_handle *handle, const shape_key *source, shape_key *destination) {
    tarnbase::object::copy_cr(tarnbase::model::shape_key, handle, source, destination);
}

uint32_t shape_key_print(kel_handle *handle, uint32_t tx_id, char *buffer, uint32_t indent,
                         const char *name, const shape_key *object, uint32_t buffer_len,
                         uint32_t *err) {
    return tarnbase::object::print(tarnbase::model::shape_key, {handle, tx_id, err},
                                   {buffer, buffer_len}, {name, indent}, object);
}

uint32_t shape_key_print_cr(kel_handle *handle, const shape_key *object, char *buffer,
                            uint32_t buffer_len) {
    return tarnbase::object::print_cr(tarnbase::model::shape_key, handle, {buffer, buffer_len},
                                      object);
}

uint32_t shape_key_to_xml(kel_handle *handle, uint32_t tx_id, const char *name, char *buffer,
                          const shape_key *object, uint32_t buffer_len, uint8_t state_flag,
                          uint32_t *err) {
    return tarnbase::object::to_xml(tarnbase::model::shape_key, {handle, tx_id, err},
                                    {buffer, buffer_len}, {name, state_flag}, object);
}

uint32_t shape_key_toxml_cr(kel_handle *handle, const shape_key *object, char *buffer,
                            uint32_t buffer_len) {
    return tarnbase::object::toxml_cr(tarnbase::model::shape_key, handle, {buffer, buffer_len},
                                      object);
}

void shape_key_from_xml(kel_handle *handle, uint32_t tx_id, const char *path, void *document,
                        shape_key *object, uint32_t *err, char *message, uint32_t message_len) {
    tarnbase::object::from_xml(tarnbase::model::shape_key, {handle, tx_id, err},
                               {document, path, message, message_len}, object);
}

kel_vstring *shape_key_layer_get(kel_handle *handle, uint32_t tx_id, shape_key *object,
                                 uint32_t *err) {
    return static_cast<kel_vstring *>(tarnbase::object::get<tarnbase::model::shape_key,
                                                            0>({handle, tx_id, err}, object));
}

void shape_key_layer_set(kel_handle *handle, uint32_t tx_id, shape_key *object,
                         const kel_vstring *source, uint32_t *err) {
    tarnbase::object::set<tarnbase::model::shape_key, 0>({handle, tx_id, err}, object, source);
}

uint8_t shape_key_layer_state_flag_get(kel_handle *handle, uint32_t tx_id, const shape_key *object,
                                       uint32_t *err) {
    return tarnbase::object::state_flag_get({tarnbase::model::shape_key,
                                             tarnbase::model::shape_key_fields[0]},
                                            {handle, tx_id, err}, object);
}

void shape_key_layer_state_flag_set(kel_handle *handle, uint32_t tx_id, shape_key *object,
                                    uint8_t flag, uint32_t *err) {
    tarnbase::object::state_flag_set({tarnbase::model::shape_key,
                                      tarnbase::model::shape_key_fields[0]}, {handle, tx_id, err},
                                     object, flag);
}

ip_address *shape_key_owner_get(kel_handle *handle, uint32_t tx_id, shape_key *object,
                                uint32_t *err) {
    return static_cast<ip_address *>(tarnbase::object::get<tarnbase::model::shape_key,
                                                           1>({handle, tx_id, err}, object));
}

void shape_key_owner_set(kel_handle *handle, uint32_t tx_id, shape_key *object,
                         const ip_address *source, uint32_t *err) {
    tarnbase::object::set<tarnbase::model::shape_key, 1>({handle, tx_id, err}, object, source);
}

uint8_t shape_key_owner_state_flag_get(kel_handle *handle, uint32_t tx_id, const shape_key *object,
                                       uint32_t *err) {
    return tarnbase::object::state_flag_get({tarnbase::model::shape_key,
                                             tarnbase::model::shape_key_fields[1]},
                                            {handle, tx_id, err}, object);
}

void shape_key_owner_state_flag_set(kel_handle *handle, uint32_t tx_id, shape_key *object,
                                    uint8_t flag, uint32_t *err) {
    tarnbase::object::state_flag_set({tarnbase::model::shape_key,
                                      tarnbase::model::shape_key_fields[1]}, {handle, tx_id, err},
                                     object, flag);
}

