// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from sample.tarn; changes belong there.
// Of the C++ headers made from the schema: 1320c1fd54d71b3ff95a4a5e8d33c34b
#ifndef TARNBASE_TARN_SCHEMA_HPP
#define TARNBASE_TARN_SCHEMA_HPP

#include "tarnbase/schema.h"

#endif
