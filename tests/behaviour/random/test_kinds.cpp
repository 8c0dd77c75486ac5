// SPDX-License-Identifier: Apache-2.0
// The tables of the tests' schema.
#include "tests/behaviour/random/kind.h"
#include "tests/behaviour/random/text_field.h"
#include "tests/behaviour/table/subject_macros.h"

namespace tarn::test {

namespace {

void set_every_text(kel_handle *h, u32 tx, void *object, const std::string &text, u32 *err) {
    const kel_vstring source = referring(text);
    st_tag_name_set(h, tx, Any{st_every_tag_get(h, tx, Any{object}, err)}, &source, err);
}
std::string get_every_text(kel_handle *h, const void *object) {
    u32 err = 0;
    const st_tag *tag = st_every_tag_get(h, KEL_TX_NONE, Any{object}, &err);
    return text_of(st_tag_name_get(h, KEL_TX_NONE, Any{tag}, &err));
}

void set_grown_text(kel_handle *h, u32 tx, void *object, const std::string &text, u32 *err) {
    const kel_vstring source = referring(text);
    st_tag_name_set(h, tx, Any{st_grown_extra_get(h, tx, Any{object}, err)}, &source, err);
}
std::string get_grown_text(kel_handle *h, const void *object) {
    u32 err = 0;
    const st_tag *tag = st_grown_extra_get(h, KEL_TX_NONE, Any{object}, &err);
    return text_of(st_tag_name_get(h, KEL_TX_NONE, Any{tag}, &err));
}

void set_pair_text(kel_handle *h, u32 tx, void *object, const std::string &text, u32 *err) {
    const kel_vstring source = referring(text);
    st_pair_note_set(h, tx, Any{object}, &source, err);
}
std::string get_pair_text(kel_handle *h, const void *object) {
    u32 err = 0;
    return text_of(st_pair_note_get(h, KEL_TX_NONE, Any{object}, &err));
}

void set_single_text(kel_handle *h, u32 tx, void *object, const std::string &text, u32 *err) {
    const kel_vstring source = referring(text);
    st_single_device_set(h, tx, Any{object}, &source, err);
}
std::string get_single_text(kel_handle *h, const void *object) {
    u32 err = 0;
    return text_of(st_single_device_get(h, KEL_TX_NONE, Any{object}, &err));
}

// Keys of both halves of each kind's range, few enough to be equal often.
constexpr u32 few_keys = 14;
constexpr u32 many_values = 1000;

}  // namespace

const std::vector<Kind> &all_kinds() {
    static const std::vector<Kind> kinds = {
        {"integer", &test_number, few_keys, many_values, set_every_text, get_every_text},
        {"string", &test_label, few_keys, many_values, set_every_text, get_every_text},
        {"address", &test_address, few_keys, many_values, set_every_text, get_every_text},
        {"enumeration", &test_lamp, 3, many_values, set_every_text, get_every_text},
        {"composite", &test_pair, few_keys, many_values, set_pair_text, get_pair_text},
        {"grown", &test_grown, few_keys, many_values, set_grown_text, get_grown_text},
        {"singleton", &test_single, 2, 2, set_single_text, get_single_text},
    };
    return kinds;
}

}  // namespace tarn::test
