// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from sample.tarn; changes belong there.
// A share of the exported functions: 82601b71a49089eaea1ea6b2fcc0096e
#include "stamps/tbl_shape.cpp"
#include "stamps/st_shape.cpp"
#include "stamps/color.cpp"
