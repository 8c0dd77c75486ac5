// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from sample.tarn; changes belong there.
// A share of the exported functions: 2ce8629133411b11b498264feff2bfc1
#include "stamps/tbl_shape.cpp"
#include "stamps/st_shape.cpp"
#include "stamps/color.cpp"
