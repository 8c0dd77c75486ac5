// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from sample.tarn; changes belong there.
// A share of the exported functions: 2710fefde06cb797f8d21b7b6138ab9d
#include "stamps/tbl_layer_shape.cpp"
#include "stamps/st_corner.cpp"
#include "stamps/shape_key.cpp"
