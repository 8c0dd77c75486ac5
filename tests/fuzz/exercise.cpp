// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/exercise.h"

#include <algorithm>

#include "object/enumeration.h"
#include "object/fields.h"
#include "object/object.h"
#include "tests/fuzz/accessors.h"
#include "tests/fuzz/forms.h"

namespace tarnbase::fuzz {

namespace {

constexpr u32 ra_data_length = 9;

template <typename Test>
bool all_nested(const Structure &type, const void *object, Test test) {
    if (!test(type, object)) return false;
    return std::ranges::all_of(object::fields_of(type), [&](const Field &field) {
        return field.structure == nullptr ||
               all_nested(*field.structure, object::place_of(field, object), test);
    });
}

// The bytes that the length doesn't include: the trace data of the object and of nested ones.
u32 ra_data_in(const Structure &type, const void *object) {
    u32 length = 0;
    all_nested(type, object, [&](const Structure &, const void *each) {
        if ((object::header(each)->flags & OBJ_RA_DATA) != 0) length += ra_data_length;
        return true;
    });
    return length;
}

// Whether the wire form contains every field, so that an object read from it is equal:
// no variant lacks fields, and no enumeration whose enumerators start at 1 has the value 0,
// whose wire form is the same as that of 1.
bool has_every_field_on_the_wire(const Structure &type, const void *object) {
    return all_nested(type, object, [](const Structure &each, const void *place) {
        const auto is_written = [&](const Field &field) {
            if (field.first_variant > object::header(place)->variant) return false;
            if (field.kind != FieldKind::enumeration) return true;
            return static_cast<const kel_enum_object *>(object::place_of(field, place))->value >=
                   field.enumeration->first_user_value;
        };
        return std::ranges::all_of(object::fields_of(each), is_written);
    });
}

// Reads the wire form into a new object, and writes it again to the same bytes.
void check_round_trip(const Structure &type, const Round &round, const void *object,
                      const Buffer &form, u32 length) {
    u32 err = 0;
    void *copy = object::create(type, round.call());
    const u32 taken =
        object::unmarshal(type, round.call(err), {form.data(), length}, copy, InPlace::no);
    require(err == 0 && taken == length, "what was marshalled can be unmarshalled");
    if (has_every_field_on_the_wire(type, object)) require_equal(type, object, copy);
    object::destroy(type, round.call(), copy);
}

void check_wire(const Structure &type, const Round &round, const void *object, u8 portion) {
    const u32 length = object::len(type, round.call(), object) + ra_data_in(type, object);
    // With a handle that tracks state the last byte may be stored after the length.
    const u32 spare = round.tracking() ? 1 : 0;
    Buffer form(length + spare);
    u32 err = 0;
    const u32 written = object::marshal(type, round.call(err), {form.data(), length}, object);
    require(written <= length, "a marshalled object stays in its buffer");
    require(err == 0 || round.handle()->last_error != 0, "an error is kept in the handle too");
    if (err == 0) {
        require(written == length, "a marshalled object has the promised length");
        check_round_trip(type, round, object, form, length);
    }
    Buffer cut(length * portion / 256 + spare);
    u32 lack = 0;
    object::marshal(type, round.call(lack), {cut.data(), cut.size() - spare}, object);
    // If only the last state bytes don't fit in the buffer, they are dropped.
    require(lack != 0 || round.tracking(), "a buffer that is too short is reported");
}

void check_text(const Structure &type, const Round &round, const void *object, u8 portion) {
    const u32 indent = portion % 8;
    text_form(portion, [&](char *buffer, u32 length, u32 *err) {
        return object::print(type, round.call(*err), {buffer, length}, {type.name, indent}, object);
    });
}

void check_states(const Structure &type, const Round &round, void *object) {
    for (const Field &field : object::fields_of(type)) {
        u32 err = 0;
        const u8 flag = object::state_flag_get({type, field}, round.call(err), object);
        require((err == 0) == round.tracking(), "an object has flags if the handle tracks");
        object::state_flag_set({type, field}, round.call(err), object, flag);
        if (field.kind != FieldKind::array || !round.tracking()) continue;
        object::array_state_flag_get({type, field}, round.call(err), object, field.elements - 1);
    }
    object::set_all_state_tracking_flag(type, round.call(), object, 3);
}

// A clone in a workspace that is just large enough, or too small; a clone and a copy in
// the handle's; an assignment.
void check_copies(const Structure &type, const Round &round, const void *object, u8 portion) {
    kel_handle *handle = round.handle();
    const u32 length = object::len(type, round.call(), object) + ra_data_in(type, object);
    const u32 spare = round.tracking() ? 1 : 0;
    for (const u32 size : {length, length * portion / 256}) {
        Buffer workspace(size + spare);
        u32 err = 0;
        void *clone = nullptr;
        object::clone(type, round.call(err), object, &clone, {workspace.data(), size});
        require((clone != nullptr) == (err == 0), "a clone is made, or an error reported");
        object::destroy(type, round.call(), clone);
    }
    handle->last_error = 0;
    void *clone = object::clone_cr(type, handle, object);
    require(clone != nullptr && handle->last_error == 0, "a clone is made in the workspace");
    object::copy_cr(type, handle, object, clone);
    require(handle->last_error == 0, "a copy is made in the workspace");
    u32 err = 0;
    object::set(type, round.call(err), clone, object);
    require(err == 0, "an object can be set from another");
    require_equal(type, object, clone);
    object::destroy(type, round.call(), clone);
}

}  // namespace

bool has_enumerators_only(const Structure &type, const void *object) {
    return all_nested(type, object, [](const Structure &each, const void *place) {
        return std::ranges::all_of(object::fields_of(each), [&](const Field &field) {
            if (field.kind != FieldKind::enumeration) return true;
            const u32 value =
                static_cast<const kel_enum_object *>(object::place_of(field, place))->value;
            return value - field.enumeration->first_user_value < field.enumeration->count;
        });
    });
}

void require_equal(const Structure &type, const void *a, const void *b) {
    require(object::compare(type, a, b) == 0 && object::compare(type, b, a) == 0,
            "equal objects compare as equal");
    require(object::hash(type, a, 7) == object::hash(type, b, 7), "equal objects hash alike");
}

std::string xml_of(const Structure &type, const Round &round, const void *object, u8 portion) {
    return text_form(portion,
                     [&](char *buffer, u32 length, u32 *err) {
                         return object::to_xml(type, round.call(*err), {buffer, length},
                                               {type.name}, object);
                     })
        .first;
}

void exercise(const Structure &type, const Round &round, void *object, u8 portion) {
    u32 err = 0;
    require_equal(type, object, object);
    check_wire(type, round, object, portion);
    check_text(type, round, object, portion);
    xml_of(type, round, object, portion);
    check_copies(type, round, object, portion);
    use_accessors(type, round, object);
    check_states(type, round, object);
    object::type_type_backpropagate(type, round.call(err), object);
    require(err == 0, "an object reports whether it was modified");
    check_wire(type, round, object, portion);
}

void exercise(const Enumeration &type, const Round &round, kel_enum_object *object, u8 portion) {
    u32 err = 0;
    const u32 value = enumeration::get_value(round.call(err), object);
    require(enumeration::compare(object, object) == 0 && err == 0, "an enumeration has a value");
    enumeration::hash(object, 7);
    Buffer form(enumeration::len());
    require(enumeration::marshal(type, round.call(err), {form.data(), form.size()}, object) ==
                form.size(),
            "an enumeration has the promised length");
    Buffer cut(form.size() * portion / 256);
    u32 lack = 0;
    enumeration::marshal(type, round.call(lack), {cut.data(), cut.size()}, object);
    require(lack != 0, "a buffer that is too short for an enumeration is reported");
    text_form(portion, [&](char *buffer, u32 length, u32 *error) {
        return enumeration::print(type, round.call(*error), {buffer, length}, {type.name}, object);
    });
    text_form(portion, [&](char *buffer, u32 length, u32 *error) {
        return enumeration::to_xml(type, round.call(*error), {buffer, length}, type.name, object);
    });
    u32 refused = 0;
    enumeration::set_value(type, round.call(refused), object, value);
    enumeration::backpropagate(type, round.call(err), object);
    require(err == 0, "an enumeration reports whether it was modified");
}

}  // namespace tarnbase::fuzz
