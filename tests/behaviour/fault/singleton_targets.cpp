// SPDX-License-Identifier: Apache-2.0
// The operations of tables, on a singleton table of the library itself. Nothing in the
// index limits it to one record, so it takes the operations that need two.
#include "tests/behaviour/fault/kind_macros.h"
#include "tests/behaviour/fault/kind_parts.h"
#include "tests/behaviour/fault/operation.h"

namespace tarn::test {

namespace {

const Subject credentials = {
    TARN_TABLE(tbl_lum_credentials, st_lum_credentials, st_lum_credentials_singleton_id,
               "singleton_id", "st_lum_credentials singleton_id", 3),
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
            return st_lum_credentials_configured_get_value(h, KEL_TX_NONE, Any{object}, &err);
        },
};

void fill_credentials(kel_handle *h, u32 tx, void *object, u32 set, u32 *err) {
    const kel_vstring device = text_of(set, "the name of a device", "another name, of another");
    st_lum_credentials_singleton_id_set_value(h, tx, Any{object}, set + 32, err);
    st_lum_credentials_device_id_set(h, tx, Any{object}, &device, err);
    st_lum_credentials_configured_set_value(h, tx, Any{object}, 1 - set, err);
}

u32 print_credentials(kel_handle *h, u32 tx, char *b, const void *o, u32 l, u32 *e) {
    return st_lum_credentials_print(h, tx, b, 0, "object", Any{o}, l, e);
}

const Kind kind_credentials = {TARN_KIND(st_lum_credentials), .fill = fill_credentials,
                               .see = see_print<print_credentials>};

}  // namespace

std::vector<Target> targets_of(On on) {
    if (on != On::tables && on != On::id_tables) return {};
    return {{&credentials, &kind_credentials, nullptr}};
}

std::vector<std::vector<Operation>> swept_operations() {
    return {table_operations(), read_operations(), form_operations()};
}

}  // namespace tarn::test
