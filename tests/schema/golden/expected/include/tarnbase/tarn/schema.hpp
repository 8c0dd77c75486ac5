// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from sample.tarn; changes belong there.
// Of the C++ headers made from the schema: e7aa1863443f2fef3f40a56bbfe5920a
#ifndef TARNBASE_TARN_SCHEMA_HPP
#define TARNBASE_TARN_SCHEMA_HPP

#include "tarnbase/schema.h"

#endif
