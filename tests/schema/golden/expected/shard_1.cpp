// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from sample.tarn; changes belong there.
// A share of the exported functions: 5ff476107b9b8e9ed9c5f484d4be3793
#include "stamps/tbl_shape.cpp"
#include "stamps/st_shape.cpp"
#include "stamps/color.cpp"
