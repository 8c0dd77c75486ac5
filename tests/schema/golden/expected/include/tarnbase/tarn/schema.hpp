// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from sample.tarn; changes belong there.
// Of the C++ headers made from the schema: 96a9dd5d4b7906fe99792051e1cf2fc1
#ifndef TARNBASE_TARN_SCHEMA_HPP
#define TARNBASE_TARN_SCHEMA_HPP

#include "tarnbase/schema.h"

#endif
