/* SPDX-License-Identifier: Apache-2.0 */
// The workers of an enumeration's operations: the model first, where it is needed.
#ifndef TARNBASE_OBJECT_ENUMERATION_H
#define TARNBASE_OBJECT_ENUMERATION_H

#include <cstdint>

#include "frame/call.h"
#include "frame/cursor.h"
#include "frame/schema.h"
#include "object/arguments.h"

namespace tarnbase::enumeration {

using Type = const Enumeration &;
using Object = kel_enum_object;

// enumeration.cpp
std::int8_t variant_data_index_cap(std::int8_t variant);
Object *create(Type type, const Call &call);
Object *create_internal(Type type, const Call &call);
Object *create_cr(Type type, kel_handle *handle);
void initialize(const Call &call, Object *object, const Initial &initial);
void set_instance_embedded(const Call &call, Object *object);
void destroy(Type type, const Call &call, Object *object);
void destroy_internal(Type type, const Call &call, Object *object, Release release);
void destroy_cr(Type type, kel_handle *handle, Object *object);
std::uint32_t map_to_user_value(std::uint32_t value);
std::uint32_t map_to_internal_value(Type type, std::uint32_t value);
std::int32_t adjust_variant(const Call &call, Object *object);
std::int32_t compare(const Object *a, const Object *b);
std::uint32_t hash(const Object *object, std::uint32_t seed);
std::uint32_t size_of();
std::uint32_t len();
std::uint32_t len_cr(const kel_handle *handle);
std::uint32_t get_value(const Call &call, const Object *object);
void set(Type type, const Call &call, Object *object, const Object *source);
void set_value(Type type, const Call &call, Object *object, std::uint32_t value);
std::uint32_t marshal(Type type, const Call &call, Output out, const Object *object);
std::uint32_t unmarshal(Type type, const Call &call, Input in, Object *object, InPlace in_place);
std::uint32_t backpropagate(Type type, const Call &call, Object *object);
std::uint32_t is_valid_cr(Type type, kel_handle *handle, std::uint32_t value);

// enumeration_text.cpp
std::uint32_t print(Type type, const Call &call, Output out, Label label, const Object *object);
std::uint32_t print_cr(Type type, kel_handle *handle, Output out, const Object *object);
std::uint32_t to_xml(Type type, const Call &call, Output out, const char *name,
                     const Object *object);
std::uint32_t toxml_cr(Type type, kel_handle *handle, Output out, const Object *object);
void from_xml(Type type, const Call &call, const XmlElement &element, Object *object);

// get_oid_count and get_object_references are those of a structure: object.h.

}  // namespace tarnbase::enumeration

#endif
