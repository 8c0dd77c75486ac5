// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/accessors.h"

#include <dlfcn.h>

#include <map>
#include <string>
#include <vector>

#include "object/object.h"
#include "tests/fuzz/input.h"
#include "tests/fuzz/schema_items.h"

// The functions are found by name and called with machine words, so that a sanitizer
// can't match their types.
#if defined(__clang__)
#define TARN_CALLS_BY_NAME __attribute__((no_sanitize("function")))
#else
#define TARN_CALLS_BY_NAME
#endif

namespace tarnbase::fuzz {

namespace {

struct Accessors {
    void *get;
    void *get_value;  // null unless the field has a plain value, as below
    void *set;
    void *set_value;
};

void *exported(const Structure &type, const Field &field, const char *operation) {
    const std::string name = std::string(type.name) + "_" + field.name + operation;
    void *function = dlsym(RTLD_DEFAULT, name.c_str());
    require(function != nullptr, name.c_str());
    return function;
}

const std::vector<Accessors> &accessors_of(const Structure &type) {
    static std::map<const Structure *, std::vector<Accessors>> known;
    std::vector<Accessors> &accessors = known[&type];
    if (!accessors.empty()) return accessors;
    for (const Field &field : fields_of(type)) {
        const bool plain = has_plain_value(field.kind);
        accessors.push_back(
            {exported(type, field, "_get"), plain ? exported(type, field, "_get_value") : nullptr,
             exported(type, field, "_set"), plain ? exported(type, field, "_set_value") : nullptr});
    }
    return accessors;
}

using Get = void *(*)(kel_handle *, u32, void *, u32 *);
using GetValue = u64 (*)(kel_handle *, u32, void *, u32 *);
using Set = void (*)(kel_handle *, u32, void *, const void *, u32 *);
using SetValue = void (*)(kel_handle *, u32, void *, u64, u32 *);

// Sets the field from itself, and a plain value to its own value. A value that the setter
// refuses must only be reported.
TARN_CALLS_BY_NAME void use(const Accessors &accessors, const Round &round, void *object) {
    kel_handle *handle = round.handle();
    u32 err = 0;
    void *access = reinterpret_cast<Get>(accessors.get)(handle, round.tx(), object, &err);
    require((access != nullptr) == (err == 0), "a getter returns a value or reports an error");
    if (access == nullptr) return;
    reinterpret_cast<Set>(accessors.set)(handle, round.tx(), object, access, &err);
    if (accessors.get_value == nullptr) return;
    err = 0;
    const u64 value =
        reinterpret_cast<GetValue>(accessors.get_value)(handle, round.tx(), object, &err);
    require(err == 0, "a value that can be got has a plain value");
    reinterpret_cast<SetValue>(accessors.set_value)(handle, round.tx(), object, value, &err);
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
    require(err == 0 || head(object)->variant < field.first_variant,
            "an array can be read and written");
    err = 0;
    require(object::array_get({type, field}, round.call(err), object, field.elements) == nullptr &&
                err != 0,
            "an array ends where it ends");
}

}  // namespace

void use_accessors(const Structure &type, const Round &round, void *object) {
    const std::vector<Accessors> &accessors = accessors_of(type);
    for (u32 i = 0; i < type.field_count; ++i) {
        const Field &field = type.fields[i];
        if (field.kind == FieldKind::array) {
            use_array(type, field, round, object);
            continue;
        }
        use(accessors[i], round, object);
        if (field.kind == FieldKind::structure) {
            use_accessors(*field.structure, round, place_of(field, object));
        }
    }
}

}  // namespace tarnbase::fuzz
