// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from sample.tarn; changes belong there.
// The computed layout against that of real structures.
#include <cstddef>
#include <cstdint>

#include "tarnbase/object.h"
#include "tarnbase/value.h"

namespace {

struct st_corner {
    KEL_OBJECT_HEADER
    int64_t x;
    uint8_t register_;
};
static_assert(offsetof(st_corner, x) == 16);
static_assert(sizeof(st_corner::x) == 8);
static_assert(offsetof(st_corner, register_) == 24);
static_assert(sizeof(st_corner::register_) == 1);
static_assert(sizeof(st_corner) == 32);
// With its whole allocation, as in a parent.
union whole_st_corner {
    st_corner fields;
    unsigned char allocation[40];
};
static_assert(sizeof(whole_st_corner) == 40);

struct st_shape {
    KEL_OBJECT_HEADER
    uint8_t sides;
    uint32_t number;
    kel_enum_object color_;
    whole_st_corner first;
    uint8_t pattern[4];
    kel_boolean filled;
};
static_assert(offsetof(st_shape, sides) == 11);
static_assert(sizeof(st_shape::sides) == 1);
static_assert(offsetof(st_shape, number) == 12);
static_assert(sizeof(st_shape::number) == 4);
static_assert(offsetof(st_shape, color_) == 16);
static_assert(sizeof(st_shape::color_) == 16);
static_assert(offsetof(st_shape, first) == 32);
static_assert(sizeof(st_shape::first) == 40);
static_assert(offsetof(st_shape, pattern) == 72);
static_assert(sizeof(st_shape::pattern) == 4);
static_assert(offsetof(st_shape, filled) == 80);
static_assert(sizeof(st_shape::filled) == 16);
static_assert(sizeof(st_shape) == 96);
// With its whole allocation, as in a parent.
union whole_st_shape {
    st_shape fields;
    unsigned char allocation[112];
};
static_assert(sizeof(whole_st_shape) == 112);

struct shape_key {
    KEL_OBJECT_HEADER
    kel_vstring layer;
    ip_address owner;
};
static_assert(offsetof(shape_key, layer) == 16);
static_assert(sizeof(shape_key::layer) == 32);
static_assert(offsetof(shape_key, owner) == 48);
static_assert(sizeof(shape_key::owner) == 32);
static_assert(sizeof(shape_key) == 80);
// With its whole allocation, as in a parent.
union whole_shape_key {
    shape_key fields;
    unsigned char allocation[96];
};
static_assert(sizeof(whole_shape_key) == 96);

}  // namespace
