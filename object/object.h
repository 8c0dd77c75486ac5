/* SPDX-License-Identifier: Apache-2.0 */
// The workers of a structure's operations. The model comes first, then the call, then
// the operation's own arguments. Accessors of plain fields are templates, in access.h.
#ifndef TARNBASE_OBJECT_OBJECT_H
#define TARNBASE_OBJECT_OBJECT_H

#include <cstdint>
#include <initializer_list>

#include "frame/call.h"
#include "frame/cursor.h"
#include "frame/schema.h"
#include "object/arguments.h"

namespace tarnbase::object {

using Type = const Structure &;

// A field of a structure: what the operations of one field work on.
struct Member {
    const Structure &type;
    const Field &field;
};

// lifecycle.cpp
void *create(Type type, const Call &call);
void *create_internal(Type type, const Call &call);
void *create_cr(Type type, kel_handle *handle);
void initialize(Type type, const Call &call, void *object, const Initial &initial);
void set_instance_embedded(Type type, const Call &call, void *object);
std::uint32_t get_oid_count(const Call &call, const void *object);
void get_object_references(const Call &call, const void *object);
std::uint32_t size_of(Type type, const kel_handle *handle);
void destroy(Type type, const Call &call, void *object);
void destroy_internal(Type type, const Call &call, void *object, Release release);
void destroy_cr(Type type, kel_handle *handle, void *object);
void post_copyout_cleanup(Type type, const Call &call, void *destination, const void *source);

// variant.cpp
std::int8_t variant_data_index_cap(Type type, std::int8_t variant);
std::int32_t adjust_variant(Type type, const Call &call, void *object);
std::uint32_t is_valid_cr(Type type, kel_handle *handle, std::uint32_t field_index);
std::uint32_t type_type_backpropagate(Type type, const Call &call, void *object);

// state.cpp
void offset_update(Type type, const Call &call, void *object, void *sttr_base);
void offset_remove(Type type, const Call &call, void *object);
std::uint8_t state_flag_get(Member member, const Call &call, const void *object);
void state_flag_set(Member member, const Call &call, void *object, std::uint8_t flag);
void set_all_state_tracking_flag(Type type, const Call &call, void *object, std::uint8_t flag);

// whole.cpp: `out` and `values` hold one entry for each value field, in field order.
void get_all(Type type, const Call &call, const void *object, std::initializer_list<void *> out);
void set_all(Type type, const Call &call, void *object,
             std::initializer_list<std::uint64_t> values);
std::int32_t compare(Type type, const void *a, const void *b);
std::uint32_t hash(Type type, const void *object, std::uint32_t seed);

// copy.cpp
void set(Type type, const Call &call, void *destination, const void *source);

// array.cpp
void array_get_mem(Member member, const Call &call, const void *object, void *out,
                   std::int32_t length);
std::uint8_t *array_get(Member member, const Call &call, void *object, std::uint32_t index);
std::uint8_t array_get_value(Member member, const Call &call, void *object, std::uint32_t index);
void array_set_mem(Member member, const Call &call, void *object, const void *source,
                   std::int32_t length);
std::uint32_t array_set_mem_cr(Member member, kel_handle *handle, void *object, const void *source,
                               std::int32_t length);
void array_set(Member member, const Call &call, void *object, std::uint32_t index,
               const std::uint8_t *source);
void array_set_value(Member member, const Call &call, void *object, std::uint32_t index,
                     std::uint8_t value);
std::uint8_t array_state_flag_get(Member member, const Call &call, const void *object,
                                  std::uint32_t index);
void array_state_flag_get_arr(Member member, const Call &call, void *object, std::uint8_t **out);
void array_state_flag_set(Member member, const Call &call, void *object, std::uint32_t index,
                          std::uint8_t flag);
void array_state_flag_set_arr(Member member, const Call &call, void *object, const void *source,
                              std::uint32_t length);

// wire.cpp
std::uint32_t marshal(Type type, const Call &call, Output out, const void *object);
std::uint32_t marshal_for_clone(Type type, const Call &call, Output out, const void *object);
std::uint32_t unmarshal(Type type, const Call &call, Input in, void *object, InPlace in_place);
std::uint32_t len(Type type, const Call &call, const void *object);
std::uint32_t len_cr(Type type, kel_handle *handle, const void *object);

// clone.cpp
void clone(Type type, const Call &call, const void *source, void **result, Output workspace);
void *clone_cr(Type type, kel_handle *handle, const void *source);
void copy_cr(Type type, kel_handle *handle, const void *source, void *destination);

// text.cpp
std::uint32_t print(Type type, const Call &call, Output out, Label label, const void *object);
std::uint32_t print_cr(Type type, kel_handle *handle, Output out, const void *object);

// xml.cpp
std::uint32_t to_xml(Type type, const Call &call, Output out, Tag tag, const void *object);
std::uint32_t toxml_cr(Type type, kel_handle *handle, Output out, const void *object);
void from_xml(Type type, const Call &call, const XmlElement &element, void *object);

}  // namespace tarnbase::object

#endif
