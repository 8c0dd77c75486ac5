/* SPDX-License-Identifier: Apache-2.0 */
// The workers behind an enumeration's 32 operations, the model first.
#ifndef TARNBASE_OBJECT_ENUMERATION_H
#define TARNBASE_OBJECT_ENUMERATION_H

#include <cstdint>

#include "frame/schema.h"

namespace tarnbase::enumeration {

using Type = const Enumeration &;
using Object = kel_enum_object;

std::int8_t variant_data_index_cap(std::int8_t variant);
Object *create(Type type, kel_handle *handle, std::uint32_t tx_id);
Object *create_internal(Type type, kel_handle *handle, std::uint32_t tx_id);
Object *create_cr(Type type, kel_handle *handle);
void initialize(Type type, kel_handle *handle, std::uint32_t tx_id, Object *object,
                const kel_type_info *descriptor, std::uint32_t log_writes, std::uint32_t quiet,
                std::uint8_t flags, void *sttr_base, std::uint32_t *err);
void set_instance_embedded(kel_handle *handle, std::uint32_t tx_id, Object *object);
void destroy(Type type, kel_handle *handle, std::uint32_t tx_id, Object *object);
void destroy_internal(Type type, kel_handle *handle, std::uint32_t tx_id, Object *object,
                      std::uint32_t release);
void destroy_cr(Type type, kel_handle *handle, Object *object);
std::uint32_t map_to_user_value(std::uint32_t value);
std::uint32_t map_to_internal_value(Type type, std::uint32_t value);
std::int32_t adjust_variant(Type type, kel_handle *handle, std::uint32_t tx_id, Object *object,
                            std::uint32_t *err);
std::int32_t compare(const Object *a, const Object *b);
std::uint32_t hash(const Object *object, std::uint32_t seed);
std::uint32_t size_of();
std::uint32_t len();
std::uint32_t len_cr(const kel_handle *handle);
std::uint32_t get_value(kel_handle *handle, std::uint32_t tx_id, const Object *object,
                        std::uint32_t *err);
void set(Type type, kel_handle *handle, std::uint32_t tx_id, Object *object, const Object *source,
         std::uint32_t *err);
void set_value(Type type, kel_handle *handle, std::uint32_t tx_id, Object *object,
               std::uint32_t value, std::uint32_t *err);
std::uint32_t marshal(Type type, kel_handle *handle, std::uint32_t tx_id, void *buffer,
                      const Object *object, std::uint32_t remaining, std::uint32_t *err);
std::uint32_t unmarshal(Type type, kel_handle *handle, std::uint32_t tx_id, const void *buffer,
                        Object *object, std::uint32_t remaining, std::uint32_t in_place,
                        std::uint32_t *err);
std::uint32_t backpropagate(Type type, kel_handle *handle, std::uint32_t tx_id, Object *object,
                            std::uint32_t *err);
std::uint32_t print(Type type, kel_handle *handle, std::uint32_t tx_id, char *buffer,
                    std::uint32_t indent, const char *name, const Object *object,
                    std::uint32_t remaining, std::uint32_t *err);
std::uint32_t print_cr(Type type, kel_handle *handle, const Object *object, char *buffer,
                       std::uint32_t length);
std::uint32_t to_xml(Type type, kel_handle *handle, std::uint32_t tx_id, const char *name,
                     char *buffer, const Object *object, std::uint32_t remaining,
                     std::uint8_t state_flag, std::uint32_t *err);
std::uint32_t toxml_cr(Type type, kel_handle *handle, const Object *object, char *buffer,
                       std::uint32_t length);
void from_xml(Type type, kel_handle *handle, std::uint32_t tx_id, const char *path, void *document,
              Object *object, std::uint32_t *err, char *message, std::uint32_t message_len);
std::uint32_t is_valid_cr(Type type, kel_handle *handle, std::uint32_t value);

// get_oid_count and get_object_references are those of a structure: object.h.

}  // namespace tarnbase::enumeration

#endif
