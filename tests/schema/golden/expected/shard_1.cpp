// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from sample.tarn; changes belong there.
// A share of the exported functions: 7ebe87d4b309da108935dd1bb87d5321
#include "stamps/tbl_shape.cpp"
#include "stamps/st_shape.cpp"
#include "stamps/color.cpp"
