// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from sample.tarn; changes belong there.
// A share of the exported functions: aba53127a81ba14ced2c518e69403ffe
#include "stamps/tbl_shape.cpp"
#include "stamps/st_shape.cpp"
#include "stamps/color.cpp"
