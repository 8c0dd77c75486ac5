// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from sample.tarn; changes belong there.
// A share of the exported functions: da9775575741ad132048610da3c2b703
#include "stamps/tbl_layer_shape.cpp"
#include "stamps/st_corner.cpp"
#include "stamps/shape_key.cpp"
