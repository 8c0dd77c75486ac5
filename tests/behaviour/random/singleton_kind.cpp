// SPDX-License-Identifier: Apache-2.0
// A singleton table of the library itself. Nothing in the index limits it to one
// record, but most of them do have one.
#include "tests/behaviour/random/kind.h"
#include "tests/behaviour/random/text_field.h"
#include "tests/behaviour/table/singleton_subject.h"
#include "tests/behaviour/table/subject_macros.h"

namespace tarn::test {

namespace {

const Subject credentials = credentials_subject(2);

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
