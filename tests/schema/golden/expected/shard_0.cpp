// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from sample.tarn; changes belong there.
// A share of the exported functions: ca7f938d7b1aae78a6f51e822be1ddce
#include "stamps/tbl_layer_shape.cpp"
#include "stamps/st_corner.cpp"
#include "stamps/shape_key.cpp"
