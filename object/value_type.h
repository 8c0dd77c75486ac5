// SPDX-License-Identifier: Apache-2.0
// The operations of each field kind under one name and one signature: the field
// first, then its address. Templates name a kind's Value directly; workers that
// walk fields go through the table of value_operations.h.
//
//   every kind             len, marshal, unmarshal, print, to_xml, from_xml
//                          (to_xml of an array: xml.cpp, since each element has a flag)
//   all but arrays         get, set, backpropagate
//   plain values           get_value, set_value
//   embedded objects       initialize, set_instance_embedded
//   owners of a state share  get_oid_count, get_object_references, destroy_internal,
//                          offset_update, offset_remove
#ifndef TARNBASE_OBJECT_VALUE_TYPE_H
#define TARNBASE_OBJECT_VALUE_TYPE_H

#include <cstdint>

#include "frame/schema.h"
#include "object/enumeration.h"
#include "object/object.h"
#include "object/plain_value.h"

namespace tarnbase::object {

template <FieldKind Kind>
struct Value;

#define TARN_VALUE_FORMS(value, type)                                                              \
    static void *get(const Field &, kel_handle *handle, std::uint32_t tx_id, void *place,          \
                     std::uint32_t *err) {                                                         \
        return value##_get(handle, tx_id, static_cast<type *>(place), err);                        \
    }                                                                                              \
    static void set(const Field &, kel_handle *handle, std::uint32_t tx_id, void *place,           \
                    const void *source, std::uint32_t *err) {                                      \
        value##_set(handle, tx_id, static_cast<type *>(place), static_cast<const type *>(source),  \
                    err);                                                                          \
    }                                                                                              \
    static std::uint32_t hash(const void *place, std::uint32_t seed) {                             \
        return value##_hash(static_cast<const type *>(place), seed);                               \
    }                                                                                              \
    static std::uint32_t len(const Field &, kel_handle *handle, std::uint32_t tx_id,               \
                             const void *place) {                                                  \
        return value##_len(handle, tx_id, static_cast<const type *>(place));                       \
    }                                                                                              \
    static std::uint32_t marshal(const Field &, kel_handle *handle, std::uint32_t tx_id,           \
                                 void *buffer, const void *place, std::uint32_t remaining,         \
                                 std::uint32_t *err) {                                             \
        return value##_marshal(handle, tx_id, buffer, static_cast<const type *>(place), remaining, \
                               err);                                                               \
    }                                                                                              \
    static std::uint32_t unmarshal(const Field &, kel_handle *handle, std::uint32_t tx_id,         \
                                   const void *buffer, void *place, std::uint32_t remaining,       \
                                   std::uint32_t in_place, std::uint32_t *err) {                   \
        return value##_unmarshal(handle, tx_id, buffer, static_cast<type *>(place), remaining,     \
                                 in_place, err);                                                   \
    }                                                                                              \
    static std::uint32_t print(const Field &field, kel_handle *handle, std::uint32_t tx_id,        \
                               char *buffer, std::uint32_t indent, const void *place,              \
                               std::uint32_t remaining, std::uint32_t *err) {                      \
        return value##_print(handle, tx_id, buffer, indent, field.name,                            \
                             static_cast<const type *>(place), remaining, err);                    \
    }                                                                                              \
    static std::uint32_t to_xml(const Field &field, kel_handle *handle, std::uint32_t tx_id,       \
                                char *buffer, const void *place, std::uint32_t remaining,          \
                                std::uint8_t state_flag, std::uint32_t *err) {                     \
        return value##_to_xml(handle, tx_id, field.name, buffer, static_cast<const type *>(place), \
                              remaining, state_flag, err);                                         \
    }                                                                                              \
    static void from_xml(const Field &, kel_handle *handle, std::uint32_t tx_id, const char *path, \
                         void *document, void *place, std::uint32_t *err, char *message,           \
                         std::uint32_t message_len) {                                              \
        value##_from_xml(handle, tx_id, path, document, static_cast<type *>(place), err, message,  \
                         message_len);                                                             \
    }

#define TARN_VALUE_PLAIN(value, type, kind)                                                    \
    static PlainValue<kind> get_value(const Field &, kel_handle *handle, std::uint32_t tx_id,  \
                                      const void *access, std::uint32_t *err) {                \
        return value##_get_value(handle, tx_id, static_cast<const type *>(access), err);       \
    }                                                                                          \
    static void set_value(const Field &, kel_handle *handle, std::uint32_t tx_id, void *place, \
                          PlainValue<kind> plain, std::uint32_t *err) {                        \
        value##_set_value(handle, tx_id, static_cast<type *>(place), plain, err);              \
    }                                                                                          \
    static std::uint32_t backpropagate(const Field &, kel_handle *handle, std::uint32_t tx_id, \
                                       void *place, std::uint32_t *err) {                      \
        return value##_backpropagate(handle, tx_id, static_cast<type *>(place), err);          \
    }

#define TARN_VALUE_HEADED(value, type)                                                        \
    static std::int32_t compare(const void *a, const void *b) {                               \
        return value##_compare(static_cast<const type *>(a), static_cast<const type *>(b));   \
    }                                                                                         \
    static void initialize(const Field &field, kel_handle *handle, std::uint32_t tx_id,       \
                           void *place, std::uint32_t log_writes, std::uint32_t quiet,        \
                           void *sttr_base, std::uint32_t *err) {                             \
        value##_initialize(handle, tx_id, static_cast<type *>(place), field.descriptor,       \
                           log_writes, quiet, OBJ_NESTED, sttr_base, err);                    \
    }                                                                                         \
    static void set_instance_embedded(const Field &, kel_handle *handle, std::uint32_t tx_id, \
                                      void *place) {                                          \
        value##_set_instance_embedded(handle, tx_id, static_cast<type *>(place));             \
    }

#define TARN_VALUE_OWNING(value, type)                                                             \
    static std::uint32_t backpropagate(const Field &, kel_handle *handle, std::uint32_t tx_id,     \
                                       void *place, std::uint32_t *err) {                          \
        return value##_type_type_backpropagate(handle, tx_id, static_cast<type *>(place), err);    \
    }                                                                                              \
    static std::uint32_t get_oid_count(const Field &, kel_handle *handle, std::uint32_t tx_id,     \
                                       void *place, std::uint32_t *err) {                          \
        return value##_get_oid_count(handle, tx_id, static_cast<type *>(place), err);              \
    }                                                                                              \
    static void get_object_references(const Field &, kel_handle *handle, std::uint32_t tx_id,      \
                                      void *place, std::uint64_t *references, std::uint32_t count, \
                                      std::uint32_t *err) {                                        \
        value##_get_object_references(handle, tx_id, static_cast<type *>(place), references,       \
                                      count, err);                                                 \
    }                                                                                              \
    static void destroy_internal(const Field &, kel_handle *handle, std::uint32_t tx_id,           \
                                 void *place) {                                                    \
        value##_destroy_internal(handle, tx_id, static_cast<type *>(place), 0);                    \
    }                                                                                              \
    static void offset_update(const Field &, kel_handle *handle, std::uint32_t tx_id, void *place, \
                              void *sttr_base, std::uint32_t *err) {                               \
        value##_offset_update(handle, tx_id, static_cast<type *>(place), sttr_base, err);          \
    }                                                                                              \
    static void offset_remove(const Field &, kel_handle *handle, std::uint32_t tx_id, void *place, \
                              std::uint32_t *err) {                                                \
        value##_offset_remove(handle, tx_id, static_cast<type *>(place), err);                     \
    }

#define TARN_SCALAR(value, type)                        \
    template <>                                         \
    struct Value<FieldKind::value> {                    \
        TARN_VALUE_FORMS(value, type)                   \
        TARN_VALUE_PLAIN(value, type, FieldKind::value) \
    };

TARN_SCALAR(u_int8, std::uint8_t)
TARN_SCALAR(u_int16, std::uint16_t)
TARN_SCALAR(u_int32, std::uint32_t)
TARN_SCALAR(u_int64, std::uint64_t)
TARN_SCALAR(int32, std::int32_t)
TARN_SCALAR(int64, std::int64_t)

template <>
struct Value<FieldKind::boolean> {
    TARN_VALUE_FORMS(kel_boolean, kel_boolean)
    TARN_VALUE_PLAIN(kel_boolean, kel_boolean, FieldKind::boolean)
    TARN_VALUE_HEADED(kel_boolean, kel_boolean)
};

template <>
struct Value<FieldKind::vstring> {
    TARN_VALUE_FORMS(kel_vstring, kel_vstring)
    TARN_VALUE_HEADED(kel_vstring, kel_vstring)
    TARN_VALUE_OWNING(kel_vstring, kel_vstring)
};

template <>
struct Value<FieldKind::address> {
    TARN_VALUE_FORMS(ip_address, ip_address)
    TARN_VALUE_HEADED(ip_address, ip_address)
    TARN_VALUE_OWNING(ip_address, ip_address)
};

#undef TARN_SCALAR
#undef TARN_VALUE_OWNING
#undef TARN_VALUE_HEADED
#undef TARN_VALUE_PLAIN
#undef TARN_VALUE_FORMS

// An enumeration field: the enumeration's own workers.
template <>
struct Value<FieldKind::enumeration> {
    using Object = kel_enum_object;

    static void *get(const Field &, kel_handle *, std::uint32_t, void *place, std::uint32_t *) {
        return place;
    }
    static void set(const Field &field, kel_handle *handle, std::uint32_t tx_id, void *place,
                    const void *source, std::uint32_t *err) {
        enumeration::set(*field.enumeration, handle, tx_id, static_cast<Object *>(place),
                         static_cast<const Object *>(source), err);
    }
    static std::uint32_t get_value(const Field &, kel_handle *handle, std::uint32_t tx_id,
                                   const void *access, std::uint32_t *err) {
        return enumeration::get_value(handle, tx_id, static_cast<const Object *>(access), err);
    }
    static void set_value(const Field &field, kel_handle *handle, std::uint32_t tx_id, void *place,
                          std::uint32_t plain, std::uint32_t *err) {
        enumeration::set_value(*field.enumeration, handle, tx_id, static_cast<Object *>(place),
                               plain, err);
    }
    static std::int32_t compare(const void *a, const void *b) {
        return enumeration::compare(static_cast<const Object *>(a), static_cast<const Object *>(b));
    }
    static std::uint32_t hash(const void *place, std::uint32_t seed) {
        return enumeration::hash(static_cast<const Object *>(place), seed);
    }
    static std::uint32_t len(const Field &, kel_handle *, std::uint32_t, const void *) {
        return enumeration::len();
    }
    static std::uint32_t marshal(const Field &field, kel_handle *handle, std::uint32_t tx_id,
                                 void *buffer, const void *place, std::uint32_t remaining,
                                 std::uint32_t *err) {
        return enumeration::marshal(*field.enumeration, handle, tx_id, buffer,
                                    static_cast<const Object *>(place), remaining, err);
    }
    static std::uint32_t unmarshal(const Field &field, kel_handle *handle, std::uint32_t tx_id,
                                   const void *buffer, void *place, std::uint32_t remaining,
                                   std::uint32_t in_place, std::uint32_t *err) {
        return enumeration::unmarshal(*field.enumeration, handle, tx_id, buffer,
                                      static_cast<Object *>(place), remaining, in_place, err);
    }
    static std::uint32_t print(const Field &field, kel_handle *handle, std::uint32_t tx_id,
                               char *buffer, std::uint32_t indent, const void *place,
                               std::uint32_t remaining, std::uint32_t *err) {
        return enumeration::print(*field.enumeration, handle, tx_id, buffer, indent, field.name,
                                  static_cast<const Object *>(place), remaining, err);
    }
    static std::uint32_t to_xml(const Field &field, kel_handle *handle, std::uint32_t tx_id,
                                char *buffer, const void *place, std::uint32_t remaining,
                                std::uint8_t state_flag, std::uint32_t *err) {
        return enumeration::to_xml(*field.enumeration, handle, tx_id, field.name, buffer,
                                   static_cast<const Object *>(place), remaining, state_flag, err);
    }
    static void from_xml(const Field &field, kel_handle *handle, std::uint32_t tx_id,
                         const char *path, void *document, void *place, std::uint32_t *err,
                         char *message, std::uint32_t message_len) {
        enumeration::from_xml(*field.enumeration, handle, tx_id, path, document,
                              static_cast<Object *>(place), err, message, message_len);
    }
    static std::uint32_t backpropagate(const Field &field, kel_handle *handle, std::uint32_t tx_id,
                                       void *place, std::uint32_t *err) {
        return enumeration::backpropagate(*field.enumeration, handle, tx_id,
                                          static_cast<Object *>(place), err);
    }
    static void initialize(const Field &field, kel_handle *handle, std::uint32_t tx_id, void *place,
                           std::uint32_t log_writes, std::uint32_t quiet, void *sttr_base,
                           std::uint32_t *err) {
        enumeration::initialize(*field.enumeration, handle, tx_id, static_cast<Object *>(place),
                                field.descriptor, log_writes, quiet, OBJ_NESTED, sttr_base, err);
    }
    static void set_instance_embedded(const Field &, kel_handle *handle, std::uint32_t tx_id,
                                      void *place) {
        enumeration::set_instance_embedded(handle, tx_id, static_cast<Object *>(place));
    }
};

// A nested structure: the structure's own workers, one level down.
template <>
struct Value<FieldKind::structure> {
    static void *get(const Field &, kel_handle *, std::uint32_t, void *place, std::uint32_t *) {
        return place;
    }
    static void set(const Field &field, kel_handle *handle, std::uint32_t tx_id, void *place,
                    const void *source, std::uint32_t *err) {
        object::set(*field.structure, handle, tx_id, place, source, err);
    }
    static std::uint32_t len(const Field &field, kel_handle *handle, std::uint32_t tx_id,
                             const void *place) {
        return object::len(*field.structure, handle, tx_id, place);
    }
    static std::uint32_t marshal(const Field &field, kel_handle *handle, std::uint32_t tx_id,
                                 void *buffer, const void *place, std::uint32_t remaining,
                                 std::uint32_t *err) {
        return object::marshal(*field.structure, handle, tx_id, buffer, place, remaining, err);
    }
    static std::uint32_t unmarshal(const Field &field, kel_handle *handle, std::uint32_t tx_id,
                                   const void *buffer, void *place, std::uint32_t remaining,
                                   std::uint32_t in_place, std::uint32_t *err) {
        return object::unmarshal(*field.structure, handle, tx_id, buffer, place, remaining,
                                 in_place, err);
    }
    static std::uint32_t print(const Field &field, kel_handle *handle, std::uint32_t tx_id,
                               char *buffer, std::uint32_t indent, const void *place,
                               std::uint32_t remaining, std::uint32_t *err) {
        return object::print(*field.structure, handle, tx_id, buffer, indent, field.name, place,
                             remaining, err);
    }
    static std::uint32_t to_xml(const Field &field, kel_handle *handle, std::uint32_t tx_id,
                                char *buffer, const void *place, std::uint32_t remaining,
                                std::uint8_t state_flag, std::uint32_t *err) {
        return object::to_xml(*field.structure, handle, tx_id, field.name, buffer, place, remaining,
                              state_flag, err);
    }
    static void from_xml(const Field &field, kel_handle *handle, std::uint32_t tx_id,
                         const char *path, void *document, void *place, std::uint32_t *err,
                         char *message, std::uint32_t message_len) {
        object::from_xml(*field.structure, handle, tx_id, path, document, place, err, message,
                         message_len);
    }
    static std::uint32_t backpropagate(const Field &field, kel_handle *handle, std::uint32_t tx_id,
                                       void *place, std::uint32_t *err) {
        return object::type_type_backpropagate(*field.structure, handle, tx_id, place, err);
    }
    static void initialize(const Field &field, kel_handle *handle, std::uint32_t tx_id, void *place,
                           std::uint32_t log_writes, std::uint32_t quiet, void *sttr_base,
                           std::uint32_t *err) {
        object::initialize(*field.structure, handle, tx_id, place, field.descriptor, log_writes,
                           quiet, OBJ_NESTED, sttr_base, err);
    }
    static void set_instance_embedded(const Field &field, kel_handle *handle, std::uint32_t tx_id,
                                      void *place) {
        object::set_instance_embedded(*field.structure, handle, tx_id, place);
    }
    static std::uint32_t get_oid_count(const Field &, kel_handle *handle, std::uint32_t tx_id,
                                       void *place, std::uint32_t *err) {
        return object::get_oid_count(handle, tx_id, place, err);
    }
    static void get_object_references(const Field &, kel_handle *handle, std::uint32_t tx_id,
                                      void *place, std::uint64_t *references, std::uint32_t count,
                                      std::uint32_t *err) {
        object::get_object_references(handle, tx_id, place, references, count, err);
    }
    static void destroy_internal(const Field &field, kel_handle *handle, std::uint32_t tx_id,
                                 void *place) {
        object::destroy_internal(*field.structure, handle, tx_id, place, 0);
    }
    static void offset_update(const Field &field, kel_handle *handle, std::uint32_t tx_id,
                              void *place, void *sttr_base, std::uint32_t *err) {
        object::offset_update(*field.structure, handle, tx_id, place, sttr_base, err);
    }
    static void offset_remove(const Field &field, kel_handle *handle, std::uint32_t tx_id,
                              void *place, std::uint32_t *err) {
        object::offset_remove(*field.structure, handle, tx_id, place, err);
    }
};

}  // namespace tarnbase::object

#endif
