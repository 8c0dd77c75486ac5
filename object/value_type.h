// SPDX-License-Identifier: Apache-2.0
// The operations of each field kind under one name and one signature: the field
// first, then the call, then the field's address. Templates name a kind's Value
// directly; workers that walk fields use the table of value_operations.h.
//
//   every kind             compare, hash, len, marshal, unmarshal, print, to_xml, from_xml
//                          (to_xml of an array: xml.cpp, since each element has a flag)
//   all but arrays         get, set, backpropagate
//   plain values           get_value, set_value
//   embedded objects       initialize, set_instance_embedded
//   owners of a state share  get_oid_count, get_object_references, destroy_internal,
//                          offset_update, offset_remove
#ifndef TARNBASE_OBJECT_VALUE_TYPE_H
#define TARNBASE_OBJECT_VALUE_TYPE_H

#include <cstdint>

#include "frame/kinds.h"
#include "object/enumeration.h"
#include "object/object.h"
#include "object/services.h"

namespace tarnbase::object {

template <FieldKind Kind>
struct Value;

// The type of a field's plain value.
template <FieldKind Kind>
using PlainValue = typename Value<Kind>::PlainValue;

// The kinds whose types have services, from the list of kinds.
#define TARN_SERVICE(type, name) static constexpr auto &name = type##_##name;
#define TARN_FORM_SERVICES(type)  \
    TARN_SERVICE(type, get)       \
    TARN_SERVICE(type, set)       \
    TARN_SERVICE(type, hash)      \
    TARN_SERVICE(type, len)       \
    TARN_SERVICE(type, marshal)   \
    TARN_SERVICE(type, unmarshal) \
    TARN_SERVICE(type, print)     \
    TARN_SERVICE(type, to_xml)    \
    TARN_SERVICE(type, from_xml)
#define TARN_PLAIN_SERVICES(type) \
    TARN_SERVICE(type, get_value) \
    TARN_SERVICE(type, set_value) \
    TARN_SERVICE(type, backpropagate)
#define TARN_EMBEDDED_SERVICES(type) \
    TARN_SERVICE(type, compare)      \
    TARN_SERVICE(type, initialize)   \
    TARN_SERVICE(type, set_instance_embedded)
#define TARN_OWNER_SERVICES(type)               \
    TARN_SERVICE(type, type_type_backpropagate) \
    TARN_SERVICE(type, get_oid_count)           \
    TARN_SERVICE(type, get_object_references)   \
    TARN_SERVICE(type, destroy_internal)        \
    TARN_SERVICE(type, offset_update)           \
    TARN_SERVICE(type, offset_remove)

#define TARN_VALUE_number(kind, type, c_type, plain) \
    struct type##_services {                         \
        TARN_FORM_SERVICES(type)                     \
        TARN_PLAIN_SERVICES(type)                    \
    };                                               \
    template <>                                      \
    struct Value<FieldKind::kind> : Number<type##_services, c_type> {};
#define TARN_VALUE_boxed(kind, type, c_type, plain)                        \
    struct type##_services {                                               \
        TARN_FORM_SERVICES(type)                                           \
        TARN_PLAIN_SERVICES(type)                                          \
        TARN_EMBEDDED_SERVICES(type)                                       \
    };                                                                     \
    template <>                                                            \
    struct Value<FieldKind::kind> : Forms<type##_services, c_type>,        \
                                    Plain<type##_services, c_type, plain>, \
                                    Embedded<type##_services, c_type> {};
#define TARN_VALUE_object(kind, type, c_type, plain)                   \
    struct type##_services {                                           \
        TARN_FORM_SERVICES(type)                                       \
        TARN_EMBEDDED_SERVICES(type)                                   \
        TARN_OWNER_SERVICES(type)                                      \
    };                                                                 \
    template <>                                                        \
    struct Value<FieldKind::kind> : Forms<type##_services, c_type>,    \
                                    Embedded<type##_services, c_type>, \
                                    Owner<type##_services, c_type> {};
// These are written out, below and in array.h.
#define TARN_VALUE_enumeration(...)
#define TARN_VALUE_structure(...)
#define TARN_VALUE_array(...)
#define TARN_VALUE(group, kind, type, c_type, plain, ...) \
    TARN_VALUE_##group(kind, type, c_type, plain)

TARN_FIELD_KINDS(TARN_VALUE)

#undef TARN_VALUE
#undef TARN_VALUE_array
#undef TARN_VALUE_structure
#undef TARN_VALUE_enumeration
#undef TARN_VALUE_object
#undef TARN_VALUE_boxed
#undef TARN_VALUE_number
#undef TARN_OWNER_SERVICES
#undef TARN_EMBEDDED_SERVICES
#undef TARN_PLAIN_SERVICES
#undef TARN_FORM_SERVICES
#undef TARN_SERVICE

// A field that is an embedded object starts with the field's descriptor, nested.
inline Initial nested(const Field &field, const Initial &initial) {
    return {field.descriptor, initial.log_writes, initial.quiet, OBJ_NESTED, initial.sttr_base};
}

// An enumeration field: the enumeration's own workers.
template <>
struct Value<FieldKind::enumeration> {
    using Object = kel_enum_object;
    using PlainValue = std::uint32_t;

    static void *get(const Field &, const Call &, void *place) { return place; }
    static void set(const Field &field, const Call &call, void *place, const void *source) {
        enumeration::set(*field.enumeration, call, at(place), at(source));
    }
    static std::uint32_t get_value(const Field &, const Call &call, const void *access) {
        return enumeration::get_value(call, at(access));
    }
    static void set_value(const Field &field, const Call &call, void *place, std::uint32_t value) {
        enumeration::set_value(*field.enumeration, call, at(place), value);
    }
    static std::int32_t compare(const Field &, const void *a, const void *b) {
        return enumeration::compare(at(a), at(b));
    }
    static std::uint32_t hash(const Field &, const void *place, std::uint32_t seed) {
        return enumeration::hash(at(place), seed);
    }
    static std::uint32_t len(const Field &, const Call &, const void *) {
        return enumeration::len();
    }
    static std::uint32_t marshal(const Field &field, const Call &call, Output out,
                                 const void *place) {
        return enumeration::marshal(*field.enumeration, call, out, at(place));
    }
    static std::uint32_t unmarshal(const Field &field, const Call &call, Input in, void *place,
                                   InPlace in_place) {
        return enumeration::unmarshal(*field.enumeration, call, in, at(place), in_place);
    }
    static std::uint32_t print(const Field &field, const Call &call, Output out,
                               std::uint32_t indent, const void *place) {
        return enumeration::print(*field.enumeration, call, out, {field.name, indent}, at(place));
    }
    static std::uint32_t to_xml(const Field &field, const Call &call, Output out, const void *place,
                                std::uint8_t) {
        return enumeration::to_xml(*field.enumeration, call, out, field.name, at(place));
    }
    static void from_xml(const Field &field, const Call &call, const XmlElement &element,
                         void *place) {
        enumeration::from_xml(*field.enumeration, call, element, at(place));
    }
    static std::uint32_t backpropagate(const Field &field, const Call &call, void *place) {
        return enumeration::backpropagate(*field.enumeration, call, at(place));
    }
    static void initialize(const Field &field, const Call &call, void *place,
                           const Initial &initial) {
        enumeration::initialize(call, at(place), nested(field, initial));
    }
    static void set_instance_embedded(const Field &, const Call &call, void *place) {
        enumeration::set_instance_embedded(call, at(place));
    }

 private:
    static Object *at(void *place) { return static_cast<Object *>(place); }
    static const Object *at(const void *place) { return static_cast<const Object *>(place); }
};

// A nested structure: the structure's own workers, one level down.
template <>
struct Value<FieldKind::structure> {
    static void *get(const Field &, const Call &, void *place) { return place; }
    static void set(const Field &field, const Call &call, void *place, const void *source) {
        object::set(*field.structure, call, place, source);
    }
    static std::int32_t compare(const Field &field, const void *a, const void *b) {
        return field.structure->compare(a, b);
    }
    static std::uint32_t hash(const Field &field, const void *place, std::uint32_t seed) {
        return field.structure->hash(place, seed);
    }
    static std::uint32_t len(const Field &field, const Call &call, const void *place) {
        return object::len(*field.structure, call, place);
    }
    static std::uint32_t marshal(const Field &field, const Call &call, Output out,
                                 const void *place) {
        return object::marshal(*field.structure, call, out, place);
    }
    static std::uint32_t unmarshal(const Field &field, const Call &call, Input in, void *place,
                                   InPlace in_place) {
        return object::unmarshal(*field.structure, call, in, place, in_place);
    }
    static std::uint32_t print(const Field &field, const Call &call, Output out,
                               std::uint32_t indent, const void *place) {
        return object::print(*field.structure, call, out, {field.name, indent}, place);
    }
    static std::uint32_t to_xml(const Field &field, const Call &call, Output out, const void *place,
                                std::uint8_t state_flag) {
        return object::to_xml(*field.structure, call, out, {field.name, state_flag}, place);
    }
    static void from_xml(const Field &field, const Call &call, const XmlElement &element,
                         void *place) {
        object::from_xml(*field.structure, call, element, place);
    }
    static std::uint32_t backpropagate(const Field &field, const Call &call, void *place) {
        return object::type_type_backpropagate(*field.structure, call, place);
    }
    static void initialize(const Field &field, const Call &call, void *place,
                           const Initial &initial) {
        object::initialize(*field.structure, call, place, nested(field, initial));
    }
    static void set_instance_embedded(const Field &field, const Call &call, void *place) {
        object::set_instance_embedded(*field.structure, call, place);
    }
    static std::uint32_t get_oid_count(const Field &, const Call &call, void *place) {
        return object::get_oid_count(call, place);
    }
    static void get_object_references(const Field &, const Call &call, void *place, std::uint64_t *,
                                      std::uint32_t) {
        object::get_object_references(call, place);
    }
    static void destroy_internal(const Field &field, const Call &call, void *place) {
        object::destroy_internal(*field.structure, call, place, Release::keep);
    }
    static void offset_update(const Field &field, const Call &call, void *place, void *sttr_base) {
        object::offset_update(*field.structure, call, place, sttr_base);
    }
    static void offset_remove(const Field &field, const Call &call, void *place) {
        object::offset_remove(*field.structure, call, place);
    }
};

}  // namespace tarnbase::object

#endif
