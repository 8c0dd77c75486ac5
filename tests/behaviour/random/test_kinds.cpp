// SPDX-License-Identifier: Apache-2.0
// The tables of the tests' schema.
#include "tests/behaviour/random/kind.h"

namespace tarn::test {

namespace {

// A field, and the object that contains it.
struct TextPlace {
    const catalogue::Field &field;
    void *object;
};

TextPlace text_of(const Kind &kind, kel_handle *handle, u32 tx, void *object, u32 *err) {
    const catalogue::Structure &type = *kind.subject->entry.type;
    if (kind.nested == nullptr) return {*type.find(kind.text), object};
    const catalogue::Field &nested = *type.find(kind.nested);
    return {*nested.structure->find(kind.text), nested.call.get(handle, tx, object, 0, err)};
}

// Keys of both halves of each kind's range, few enough to be equal often.
constexpr u32 few_keys = 14;
constexpr u32 many_values = 1000;

}  // namespace

void Kind::set_text(kel_handle *handle, u32 tx, void *object, const std::string &value,
                    u32 *err) const {
    const TextPlace place = text_of(*this, handle, tx, object, err);
    kel_vstring source = {};
    kel_vstring_refer(&source, value.data(), static_cast<u32>(value.size()));
    place.field.call.set(handle, tx, place.object, &source, err);
}

std::string Kind::get_text(kel_handle *handle, const void *object) const {
    u32 err = 0;
    const TextPlace place = text_of(*this, handle, KEL_TX_NONE, const_cast<void *>(object), &err);
    u32 length = 0;
    const char *bytes = kel_vstring_bytes(static_cast<const kel_vstring *>(place.field.call.get(
                                              handle, KEL_TX_NONE, place.object, 0, &err)),
                                          &length);
    return {bytes, length};
}

const std::vector<Kind> &all_kinds() {
    static const std::vector<Kind> kinds = {
        {"integer", &test_number, few_keys, many_values, "name", "tag"},
        {"string", &test_label, few_keys, many_values, "name", "tag"},
        {"address", &test_address, few_keys, many_values, "name", "tag"},
        {"enumeration", &test_lamp, 3, many_values, "name", "tag"},
        {"composite", &test_pair, few_keys, many_values, "note", nullptr},
        {"grown", &test_grown, few_keys, many_values, "name", "extra"},
        {"singleton", &test_single, 2, 2, "device", nullptr},
    };
    return kinds;
}

}  // namespace tarn::test
