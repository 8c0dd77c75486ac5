// SPDX-License-Identifier: Apache-2.0
// The operations of tables, on a singleton table of the library itself. Nothing in the
// index limits it to one record, so it takes the operations that need two.
#include "tests/behaviour/fault/kind_macros.h"
#include "tests/behaviour/fault/kind_parts.h"
#include "tests/behaviour/fault/operation.h"
#include "tests/behaviour/table/singleton_subject.h"

namespace tarn::test {

namespace {

const Subject credentials = credentials_subject(3);

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
