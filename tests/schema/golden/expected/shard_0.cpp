// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from sample.tarn; changes belong there.
// A share of the exported functions: dbfe43ede9551cf8787e53e55f4eaa94
#include "stamps/tbl_layer_shape.cpp"
#include "stamps/st_corner.cpp"
#include "stamps/shape_key.cpp"
