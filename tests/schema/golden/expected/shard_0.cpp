// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from sample.tarn; changes belong there.
// A share of the exported functions: 87d4d18e8d493b3869dcd6c5cd9a46e2
#include "stamps/tbl_layer_shape.cpp"
#include "stamps/st_corner.cpp"
#include "stamps/shape_key.cpp"
