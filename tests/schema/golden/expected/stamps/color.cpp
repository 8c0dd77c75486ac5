// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from shapes.tarn; changes belong there.
#include "model/color.h"
#include "object/enumeration.h"
#include "object/object.h"

static kel_variant_usage color_usage[] = {
    {0, 16, 0, 0, 0, 0},
};
static kel_variant_info color_variants = {
    1,
    color_usage,
};
const kel_type_info _color_type_info_internal = {
    .magic = KEL_TYPE_INFO_MAGIC,
    .luid = {0xd9, 0x0b, 0x78, 0xe3, 0x1d, 0xe6, 0x9b, 0x7e,
             0x86, 0xdd, 0xa7, 0xfa, 0x59, 0x14, 0xeb, 0xfe},
    .luid_text = "d90b78e31de69b7e86dda7fa5914ebfe",
    .name = "color",
    .module_name = "sample",
    .kind = "enum",
    .type_slot = KEL_TYPE_SLOT_NONE,
    .variant_info = &color_variants,
    .store_private = 0,
};

namespace tarnbase::model {
constinit kel_enum_object color_fallback = {};
}  // namespace tarnbase::model

// Between the public type and its object.
static kel_enum_object *inner(color *object) {
    return reinterpret_cast<kel_enum_object *>(object);
}
static const kel_enum_object *inner(const color *object) {
    return reinterpret_cast<const kel_enum_object *>(object);
}
static color *outer_color(kel_enum_object *object) {
    return reinterpret_cast<color *>(object);
}

int8_t color_variant_data_index_cap(int8_t variant) {
    return tarnbase::enumeration::variant_data_index_cap(variant);
}

color *color_create(kel_handle *handle, uint32_t tx_id) {
    return outer_color(tarnbase::enumeration::create(tarnbase::model::color, {handle, tx_id}));
}

color *color_create_internal(kel_handle *handle, uint32_t tx_id) {
    return outer_color(tarnbase::enumeration::create_internal(tarnbase::model::color,
                                                              {handle, tx_id}));
}

color *color_create_cr(kel_handle *handle) {
    return outer_color(tarnbase::enumeration::create_cr(tarnbase::model::color, handle));
}

void color_initialize(kel_handle *handle, uint32_t tx_id, color *object,
                      const kel_type_info *descriptor, uint32_t log_writes, uint32_t, uint8_t flags,
                      void *, uint32_t *err) {
    tarnbase::enumeration::initialize({handle, tx_id, err}, inner(object),
                                      {.descriptor = descriptor, .log_writes = log_writes,
                                       .flags = flags});
}

void color_set_instance_embedded(kel_handle *handle, uint32_t tx_id, color *object) {
    tarnbase::enumeration::set_instance_embedded({handle, tx_id}, inner(object));
}

uint32_t color_get_oid_count(kel_handle *handle, uint32_t tx_id, color *object, uint32_t *err) {
    return tarnbase::object::get_oid_count({handle, tx_id, err}, object);
}

void color_get_object_references(kel_handle *handle, uint32_t tx_id, color *object, uint64_t *,
                                 uint32_t, uint32_t *err) {
    tarnbase::object::get_object_references({handle, tx_id, err}, object);
}

void color_destroy(kel_handle *handle, uint32_t tx_id, color *object) {
    tarnbase::enumeration::destroy(tarnbase::model::color, {handle, tx_id}, inner(object));
}

void color_destroy_internal(kel_handle *handle, uint32_t tx_id, color *object, uint32_t release) {
    tarnbase::enumeration::destroy_internal(tarnbase::model::color, {handle, tx_id}, inner(object),
                                            tarnbase::release_if(release));
}

void color_destroy_cr(kel_handle *handle, color *object) {
    tarnbase::enumeration::destroy_cr(tarnbase::model::color, handle, inner(object));
}

uint32_t color_map_to_user_value(uint32_t value) {
    return tarnbase::enumeration::map_to_user_value(value);
}

uint32_t color_map_to_internal_value(uint32_t value) {
    return tarnbase::enumeration::map_to_internal_value(tarnbase::model::color, value);
}

int32_t color_adjust_variant(kel_handle *handle, uint32_t tx_id, color *object, uint32_t *err) {
    return tarnbase::enumeration::adjust_variant({handle, tx_id, err}, inner(object));
}

int32_t color_compare(const color *a, const color *b) {
    return tarnbase::enumeration::compare(inner(a), inner(b));
}

uint32_t color_hash(const color *object, uint32_t seed) {
    return tarnbase::enumeration::hash(inner(object), seed);
}

uint32_t color_sizeof(kel_handle *) {
    return tarnbase::enumeration::size_of();
}

uint32_t color_len(kel_handle *, uint32_t, const color *) {
    return tarnbase::enumeration::len();
}

uint32_t color_len_cr(kel_handle *handle) {
    return tarnbase::enumeration::len_cr(handle);
}

color *color_get(kel_handle *, uint32_t, color *object, uint32_t *) {
    return object;
}

uint32_t color_get_value(kel_handle *handle, uint32_t tx_id, const color *object, uint32_t *err) {
    return tarnbase::enumeration::get_value({handle, tx_id, err}, inner(object));
}

void color_set(kel_handle *handle, uint32_t tx_id, color *object, const color *source,
               uint32_t *err) {
    tarnbase::enumeration::set(tarnbase::model::color, {handle, tx_id, err}, inner(object),
                               inner(source));
}

void color_set_value(kel_handle *handle, uint32_t tx_id, color *object, uint32_t value,
                     uint32_t *err) {
    tarnbase::enumeration::set_value(tarnbase::model::color, {handle, tx_id, err}, inner(object),
                                     value);
}

uint32_t color_marshal(kel_handle *handle, uint32_t tx_id, void *buffer, const color *object,
                       uint32_t remaining, uint32_t *err) {
    return tarnbase::enumeration::marshal(tarnbase::model::color, {handle, tx_id, err},
                                          {buffer, remaining}, inner(object));
}

uint32_t color_unmarshal(kel_handle *handle, uint32_t tx_id, const void *buffer, color *object,
                         uint32_t remaining, uint32_t in_place, uint32_t *err) {
    return tarnbase::enumeration::unmarshal(tarnbase::model::color, {handle, tx_id, err},
                                            {buffer, remaining}, inner(object),
                                            tarnbase::InPlace{in_place});
}

uint32_t color_backpropagate(kel_handle *handle, uint32_t tx_id, color *object, uint32_t *err) {
    return tarnbase::enumeration::backpropagate(tarnbase::model::color, {handle, tx_id, err},
                                                inner(object));
}

uint32_t color_print(kel_handle *handle, uint32_t tx_id, char *buffer, uint32_t indent,
                     const char *name, const color *object, uint32_t remaining, uint32_t *err) {
    return tarnbase::enumeration::print(tarnbase::model::color, {handle, tx_id, err},
                                        {buffer, remaining}, {name, indent}, inner(object));
}

uint32_t color_print_cr(kel_handle *handle, const color *object, char *buffer, uint32_t length) {
    return tarnbase::enumeration::print_cr(tarnbase::model::color, handle, {buffer, length},
                                           inner(object));
}

uint32_t color_to_xml(kel_handle *handle, uint32_t tx_id, const char *name, char *buffer,
                      const color *object, uint32_t remaining, uint8_t, uint32_t *err) {
    return tarnbase::enumeration::to_xml(tarnbase::model::color, {handle, tx_id, err},
                                         {buffer, remaining}, name, inner(object));
}

uint32_t color_toxml_cr(kel_handle *handle, const color *object, char *buffer, uint32_t length) {
    return tarnbase::enumeration::toxml_cr(tarnbase::model::color, handle, {buffer, length},
                                           inner(object));
}

void color_from_xml(kel_handle *handle, uint32_t tx_id, const char *path, void *document,
                    color *object, uint32_t *err, char *message, uint32_t message_len) {
    tarnbase::enumeration::from_xml(tarnbase::model::color, {handle, tx_id, err},
                                    {document, path, message, message_len}, inner(object));
}

uint32_t color_is_valid_cr(kel_handle *handle, uint32_t value) {
    return tarnbase::enumeration::is_valid_cr(tarnbase::model::color, handle, value);
}

