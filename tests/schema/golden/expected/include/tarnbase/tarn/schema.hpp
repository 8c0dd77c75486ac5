// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from sample.tarn; changes belong there.
// Of the C++ headers made from the schema: c9615ae8fe53181711a8436b6ccc4d0d
#ifndef TARNBASE_TARN_SCHEMA_HPP
#define TARNBASE_TARN_SCHEMA_HPP

#include "tarnbase/schema.h"

#endif
