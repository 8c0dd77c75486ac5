// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/object/sample.h"

namespace tarn::test {

st_tag *sample_tag(const Maker &make) {
    u32 err = 0;
    st_tag *tag = st_tag_create(make.handle, make.tx);
    st_tag_name_set(make.handle, make.tx, tag, Text("tag"), &err);
    st_tag_lamp_set_value(make.handle, make.tx, tag, 2, &err);
    st_point *point = st_tag_point_get(make.handle, make.tx, tag, &err);
    st_point_x_set_value(make.handle, make.tx, point, -2, &err);
    st_point_y_set_value(make.handle, make.tx, point, 0x01020304, &err);
    EXPECT_EQ(err, 0U);
    return tag;
}

st_every *sample_every(const Maker &make) {
    u32 err = 0;
    st_every *every = st_every_create(make.handle, make.tx);
    st_every_set_all(make.handle, make.tx, every, 0x11, 0x2233, 0x44556677, 0x8899aabbccddeeff, -3,
                     -0x0102030405060708, 1, 1, 3, &err);
    st_every_label_set(make.handle, make.tx, every, Text("a <text> of \"more\" & \xc3\xa9"), &err);
    st_every_addr_set(make.handle, make.tx, every, Address("192.0.2.7"), &err);
    st_every_tag_set(make.handle, make.tx, every, sample_tag(make), &err);
    EXPECT_EQ(err, 0U);
    return every;
}

}  // namespace tarn::test
