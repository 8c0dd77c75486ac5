// SPDX-License-Identifier: Apache-2.0
// A singleton table of the library itself. Nothing in the index limits it to one
// record, but most of them do have one.
#include "tests/behaviour/random/kind.h"
#include "tests/behaviour/random/text_field.h"
#include "tests/behaviour/table/subject_macros.h"

namespace tarn::test {

namespace {

const Subject credentials = {
    TARN_TABLE(tbl_lum_credentials, st_lum_credentials, st_lum_credentials_singleton_id,
               "singleton_id", "st_lum_credentials singleton_id", 2),
    .key_object = {},
    .set_key =
        [](kel_handle *h, u32 tx, void *holder, u32 number, u32 *err) {
            st_lum_credentials_singleton_id_set_value(h, tx, Any{holder}, number, err);
        },
    .get_key =
        [](kel_handle *h, const void *holder) {
            u32 err = 0;
            return st_lum_credentials_singleton_id_get_value(h, KEL_TX_NONE, Any{holder}, &err);
        },
    .make_key =
        [](KeyValue &key, u32 number) {
            key.number = number;
            key.value = &key.number;
        },
    .prepare = nullptr,
    .set_value =
        [](kel_handle *h, u32 tx, void *object, u32 value, u32 *err) {
            st_lum_credentials_configured_set_value(h, tx, Any{object}, value, err);
        },
    .get_value =
        [](kel_handle *h, const void *object) {
            u32 err = 0;
            return static_cast<u32>(
                st_lum_credentials_configured_get_value(h, KEL_TX_NONE, Any{object}, &err));
        },
};

void set_text(kel_handle *h, u32 tx, void *object, const std::string &text, u32 *err) {
    const kel_vstring source = referring(text);
    st_lum_credentials_device_id_set(h, tx, Any{object}, &source, err);
}
std::string get_text(kel_handle *h, const void *object) {
    u32 err = 0;
    return text_of(st_lum_credentials_device_id_get(h, KEL_TX_NONE, Any{object}, &err));
}

}  // namespace

const std::vector<Kind> &all_kinds() {
    static const std::vector<Kind> kinds = {{"singleton", &credentials, 2, 2, set_text, get_text}};
    return kinds;
}

}  // namespace tarn::test
