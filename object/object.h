/* SPDX-License-Identifier: Apache-2.0 */
// The workers behind a structure's operations. Each takes the structure's model
// first and then the arguments of the exported operation, which calls nothing
// else. Accessors of plain fields are templates, in access.h.
#ifndef TARNBASE_OBJECT_OBJECT_H
#define TARNBASE_OBJECT_OBJECT_H

#include <cstdint>
#include <initializer_list>

#include "frame/schema.h"

namespace tarnbase::object {

using Type = const Structure &;

// lifecycle.cpp
void *create(Type type, kel_handle *handle, std::uint32_t tx_id);
void *create_internal(Type type, kel_handle *handle, std::uint32_t tx_id);
void *create_cr(Type type, kel_handle *handle);
void initialize(Type type, kel_handle *handle, std::uint32_t tx_id, void *object,
                const kel_type_info *descriptor, std::uint32_t log_writes, std::uint32_t quiet,
                std::uint8_t flags, void *sttr_base, std::uint32_t *err);
void set_instance_embedded(Type type, kel_handle *handle, std::uint32_t tx_id, void *object);
std::uint32_t get_oid_count(kel_handle *handle, std::uint32_t tx_id, void *object,
                            std::uint32_t *err);
void get_object_references(kel_handle *handle, std::uint32_t tx_id, void *object,
                           std::uint64_t *references, std::uint32_t count, std::uint32_t *err);
std::uint32_t size_of(Type type, const kel_handle *handle);
void destroy(Type type, kel_handle *handle, std::uint32_t tx_id, void *object);
void destroy_internal(Type type, kel_handle *handle, std::uint32_t tx_id, void *object,
                      std::uint32_t release);
void destroy_cr(Type type, kel_handle *handle, void *object);
void post_copyout_cleanup(Type type, kel_handle *handle, std::uint32_t tx_id, void *destination,
                          const void *source, std::uint32_t *err);

// variant.cpp
std::int8_t variant_data_index_cap(Type type, std::int8_t variant);
std::int32_t adjust_variant(Type type, kel_handle *handle, std::uint32_t tx_id, void *object,
                            std::uint32_t *err);
std::uint32_t is_valid_cr(Type type, kel_handle *handle, std::uint32_t field_index);
std::uint32_t type_type_backpropagate(Type type, kel_handle *handle, std::uint32_t tx_id,
                                      void *object, std::uint32_t *err);

// state.cpp
void offset_update(Type type, kel_handle *handle, std::uint32_t tx_id, void *object,
                   void *sttr_base, std::uint32_t *err);
void offset_remove(Type type, kel_handle *handle, std::uint32_t tx_id, void *object,
                   std::uint32_t *err);
std::uint8_t state_flag_get(Type type, const Field &field, kel_handle *handle, std::uint32_t tx_id,
                            const void *object, std::uint32_t *err);
void state_flag_set(Type type, const Field &field, kel_handle *handle, std::uint32_t tx_id,
                    void *object, std::uint8_t flag, std::uint32_t *err);
void set_all_state_tracking_flag(Type type, kel_handle *handle, std::uint32_t tx_id, void *object,
                                 std::uint8_t flag);

// whole.cpp: `out` and `values` hold one entry a value field, in field order.
void get_all(Type type, kel_handle *handle, std::uint32_t tx_id, const void *object,
             std::initializer_list<void *> out, std::uint32_t *err);
void set_all(Type type, kel_handle *handle, std::uint32_t tx_id, void *object,
             std::initializer_list<std::uint64_t> values, std::uint32_t *err);
void set(Type type, kel_handle *handle, std::uint32_t tx_id, void *destination, const void *source,
         std::uint32_t *err);
std::int32_t compare(Type type, const void *a, const void *b);
std::uint32_t hash(Type type, const void *object, std::uint32_t seed);

// array.cpp
void array_get_mem(Type type, const Field &field, kel_handle *handle, std::uint32_t tx_id,
                   const void *object, void *out, std::int32_t length, std::uint32_t *err);
std::uint8_t *array_get(Type type, const Field &field, kel_handle *handle, std::uint32_t tx_id,
                        void *object, std::uint32_t index, std::uint32_t *err);
std::uint8_t array_get_value(Type type, const Field &field, kel_handle *handle, std::uint32_t tx_id,
                             void *object, std::uint32_t index, std::uint32_t *err);
void array_set_mem(Type type, const Field &field, kel_handle *handle, std::uint32_t tx_id,
                   void *object, const void *source, std::int32_t length, std::uint32_t *err);
std::uint32_t array_set_mem_cr(Type type, const Field &field, kel_handle *handle, void *object,
                               const void *source, std::int32_t length);
void array_set(Type type, const Field &field, kel_handle *handle, std::uint32_t tx_id, void *object,
               std::uint32_t index, const std::uint8_t *source, std::uint32_t *err);
void array_set_value(Type type, const Field &field, kel_handle *handle, std::uint32_t tx_id,
                     void *object, std::uint32_t index, std::uint8_t value, std::uint32_t *err);
std::uint8_t array_state_flag_get(Type type, const Field &field, kel_handle *handle,
                                  std::uint32_t tx_id, const void *object, std::uint32_t index,
                                  std::uint32_t *err);
void array_state_flag_get_arr(Type type, const Field &field, kel_handle *handle,
                              std::uint32_t tx_id, void *object, std::uint8_t **out,
                              std::uint32_t *err);
void array_state_flag_set(Type type, const Field &field, kel_handle *handle, std::uint32_t tx_id,
                          void *object, std::uint32_t index, std::uint8_t flag, std::uint32_t *err);
void array_state_flag_set_arr(Type type, const Field &field, kel_handle *handle,
                              std::uint32_t tx_id, void *object, const void *source,
                              std::uint32_t length, std::uint32_t *err);

// wire.cpp
std::uint32_t marshal(Type type, kel_handle *handle, std::uint32_t tx_id, void *buffer,
                      const void *object, std::uint32_t buffer_len, std::uint32_t *err);
std::uint32_t marshal_for_clone(Type type, kel_handle *handle, std::uint32_t tx_id, void *buffer,
                                const void *object, std::uint32_t buffer_len, std::uint32_t *err);
std::uint32_t unmarshal(Type type, kel_handle *handle, std::uint32_t tx_id, const void *buffer,
                        void *object, std::uint32_t buffer_len, std::uint32_t in_place,
                        std::uint32_t *err);
std::uint32_t len(Type type, kel_handle *handle, std::uint32_t tx_id, const void *object);
std::uint32_t len_cr(Type type, kel_handle *handle, const void *object);

// clone.cpp
void clone(Type type, kel_handle *handle, std::uint32_t tx_id, const void *source, void **result,
           void *workspace, std::uint32_t workspace_len, std::uint32_t *err);
void *clone_cr(Type type, kel_handle *handle, const void *source);
void copy_cr(Type type, kel_handle *handle, const void *source, void *destination);

// text.cpp
std::uint32_t print(Type type, kel_handle *handle, std::uint32_t tx_id, char *buffer,
                    std::uint32_t indent, const char *name, const void *object,
                    std::uint32_t buffer_len, std::uint32_t *err);
std::uint32_t print_cr(Type type, kel_handle *handle, const void *object, char *buffer,
                       std::uint32_t buffer_len);

// xml.cpp
std::uint32_t to_xml(Type type, kel_handle *handle, std::uint32_t tx_id, const char *name,
                     char *buffer, const void *object, std::uint32_t buffer_len,
                     std::uint8_t state_flag, std::uint32_t *err);
std::uint32_t toxml_cr(Type type, kel_handle *handle, const void *object, char *buffer,
                       std::uint32_t buffer_len);
void from_xml(Type type, kel_handle *handle, std::uint32_t tx_id, const char *path, void *document,
              void *object, std::uint32_t *err, char *message, std::uint32_t message_len);

}  // namespace tarnbase::object

#endif
