// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from sample.tarn; changes belong there.
// Of the C++ headers made from the schema: deb0feb3f2b38367c1e23b60c3eb8030
#ifndef TARNBASE_TARN_SCHEMA_HPP
#define TARNBASE_TARN_SCHEMA_HPP

#include "tarnbase/schema.h"

#endif
