// SPDX-License-Identifier: Apache-2.0
// The operations of a field whose type has imported services. `Services` names the
// services of one type without the type's name in front.
#ifndef TARNBASE_OBJECT_SERVICES_H
#define TARNBASE_OBJECT_SERVICES_H

#include <cstdint>
#include <cstring>

#include "frame/call.h"
#include "frame/cursor.h"
#include "frame/schema.h"
#include "object/arguments.h"

namespace tarnbase::object {

// The operations of every value type.
template <typename Services, typename T>
struct Forms {
    static void *get(const Field &, const Call &call, void *place) {
        return Services::get(call.handle, call.tx_id, static_cast<T *>(place), call.err);
    }
    static void set(const Field &, const Call &call, void *place, const void *source) {
        Services::set(call.handle, call.tx_id, static_cast<T *>(place),
                      static_cast<const T *>(source), call.err);
    }
    static std::uint32_t hash(const Field &, const void *place, std::uint32_t seed) {
        return Services::hash(static_cast<const T *>(place), seed);
    }
    static std::uint32_t len(const Field &, const Call &call, const void *place) {
        return Services::len(call.handle, call.tx_id, static_cast<const T *>(place));
    }
    static std::uint32_t marshal(const Field &, const Call &call, Output out, const void *place) {
        return Services::marshal(call.handle, call.tx_id, out.at(), static_cast<const T *>(place),
                                 out.remaining(), call.err);
    }
    static std::uint32_t unmarshal(const Field &, const Call &call, Input in, void *place,
                                   InPlace in_place) {
        return Services::unmarshal(call.handle, call.tx_id, in.at(), static_cast<T *>(place),
                                   in.remaining(), static_cast<std::uint32_t>(in_place), call.err);
    }
    static std::uint32_t print(const Field &field, const Call &call, Output out,
                               std::uint32_t indent, const void *place) {
        return Services::print(call.handle, call.tx_id, out.at(), indent, field.name,
                               static_cast<const T *>(place), out.remaining(), call.err);
    }
    static std::uint32_t to_xml(const Field &field, const Call &call, Output out, const void *place,
                                std::uint8_t state_flag) {
        return Services::to_xml(call.handle, call.tx_id, field.name, out.at(),
                                static_cast<const T *>(place), out.remaining(), state_flag,
                                call.err);
    }
    static void from_xml(const Field &, const Call &call, const XmlElement &element, void *place) {
        Services::from_xml(call.handle, call.tx_id, element.path, element.document,
                           static_cast<T *>(place), call.err, element.message, element.message_len);
    }
};

// Those of a type with a plain value of type P.
template <typename Services, typename T, typename P>
struct Plain {
    using PlainValue = P;

    static PlainValue get_value(const Field &, const Call &call, const void *access) {
        return Services::get_value(call.handle, call.tx_id, static_cast<const T *>(access),
                                   call.err);
    }
    static void set_value(const Field &, const Call &call, void *place, PlainValue value) {
        Services::set_value(call.handle, call.tx_id, static_cast<T *>(place), value, call.err);
    }
    static std::uint32_t backpropagate(const Field &, const Call &call, void *place) {
        return Services::backpropagate(call.handle, call.tx_id, static_cast<T *>(place), call.err);
    }
};

// Those of a number, which is stored as it is.
template <typename Services, typename T>
struct Number : Forms<Services, T>, Plain<Services, T, T> {
    static std::int32_t compare(const Field &, const void *a, const void *b) {
        if (a == nullptr || b == nullptr) return (a != nullptr) - (b != nullptr);
        T x;
        T y;
        std::memcpy(&x, a, sizeof x);
        std::memcpy(&y, b, sizeof y);
        return x == y ? 0 : (x > y ? 1 : -1);
    }
};

// Those of an embedded object.
template <typename Services, typename T>
struct Embedded {
    static std::int32_t compare(const Field &, const void *a, const void *b) {
        return Services::compare(static_cast<const T *>(a), static_cast<const T *>(b));
    }
    static void initialize(const Field &field, const Call &call, void *place,
                           const Initial &initial) {
        Services::initialize(call.handle, call.tx_id, static_cast<T *>(place), field.descriptor,
                             initial.log_writes, initial.quiet, OBJ_NESTED, initial.sttr_base,
                             call.err);
    }
    static void set_instance_embedded(const Field &, const Call &call, void *place) {
        Services::set_instance_embedded(call.handle, call.tx_id, static_cast<T *>(place));
    }
};

// Those of an embedded object with a share of the state block.
template <typename Services, typename T>
struct Owner {
    static std::uint32_t backpropagate(const Field &, const Call &call, void *place) {
        return Services::type_type_backpropagate(call.handle, call.tx_id, static_cast<T *>(place),
                                                 call.err);
    }
    static std::uint32_t get_oid_count(const Field &, const Call &call, void *place) {
        return Services::get_oid_count(call.handle, call.tx_id, static_cast<T *>(place), call.err);
    }
    static void get_object_references(const Field &, const Call &call, void *place,
                                      std::uint64_t *references, std::uint32_t count) {
        Services::get_object_references(call.handle, call.tx_id, static_cast<T *>(place),
                                        references, count, call.err);
    }
    static void destroy_internal(const Field &, const Call &call, void *place) {
        Services::destroy_internal(call.handle, call.tx_id, static_cast<T *>(place), 0);
    }
    static void offset_update(const Field &, const Call &call, void *place, void *sttr_base) {
        Services::offset_update(call.handle, call.tx_id, static_cast<T *>(place), sttr_base,
                                call.err);
    }
    static void offset_remove(const Field &, const Call &call, void *place) {
        Services::offset_remove(call.handle, call.tx_id, static_cast<T *>(place), call.err);
    }
};

}  // namespace tarnbase::object

#endif
