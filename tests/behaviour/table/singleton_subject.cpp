// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/table/singleton_subject.h"

#include "tests/behaviour/table/subject_macros.h"

namespace tarn::test {

Subject credentials_subject(std::uint32_t keys) {
    return {
        TARN_TABLE(tbl_lum_credentials, st_lum_credentials, st_lum_credentials_singleton_id,
                   "singleton_id", "st_lum_credentials singleton_id", keys),
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
}

}  // namespace tarn::test
