// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/accessors.h"

#include "catalogue/catalogue.h"
#include "object/fields.h"
#include "object/object.h"
#include "tests/fuzz/input.h"

namespace tarnbase::fuzz {

namespace {

// Sets the field from itself, and a plain value to its own value. A value that the setter
// refuses must only be reported.
void use(const catalogue::FieldFunctions &call, const Round &round, void *object) {
    kel_handle *handle = round.handle();
    u32 err = 0;
    void *access = call.get(handle, round.tx(), object, 0, &err);
    require((access != nullptr) == (err == 0), "a getter returns access or reports an error");
    if (access == nullptr) return;
    call.set(handle, round.tx(), object, access, &err);
    if (call.get_value == nullptr) return;
    err = 0;
    const u64 value = call.get_value(handle, round.tx(), object, 0, &err);
    require(err == 0, "a field that can be read has a plain value");
    call.set_value(handle, round.tx(), object, 0, value, &err);
}

void use_array(const Structure &type, const Field &field, const Round &round, void *object) {
    u32 err = 0;
    Buffer elements(field.elements);
    const auto length = static_cast<std::int32_t>(field.elements);
    object::array_get_mem({type, field}, round.call(err), object, elements.data(), length);
    object::array_set_mem({type, field}, round.call(err), object, elements.data(), length);
    for (const u32 index : {0U, field.elements - 1}) {
        const u8 value = object::array_get_value({type, field}, round.call(err), object, index);
        object::array_set_value({type, field}, round.call(err), object, index, value);
    }
    require(err == 0 || object::header(object)->variant < field.first_variant,
            "an array can be read and written");
    err = 0;
    require(object::array_get({type, field}, round.call(err), object, field.elements) == nullptr &&
                err != 0,
            "an array ends where it ends");
}

}  // namespace

void use_accessors(const Structure &type, const Round &round, void *object) {
    const catalogue::Structure &entry = *catalogue::schema.structure(type.name);
    for (u32 i = 0; i < type.field_count; ++i) {
        const Field &field = type.fields[i];
        if (field.kind == FieldKind::array) {
            use_array(type, field, round, object);
            continue;
        }
        use(entry.fields[i].call, round, object);
        if (field.kind == FieldKind::structure) {
            use_accessors(*field.structure, round, object::place_of(field, object));
        }
    }
}

}  // namespace tarnbase::fuzz
