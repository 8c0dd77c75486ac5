// SPDX-License-Identifier: Apache-2.0
// The C++ interface made from the schema: what items are called there, and its headers.
//
//   include/tarnbase/tarn/types/    a class a structure
//   include/tarnbase/tarn/enums/    an enumeration each
//   include/tarnbase/tarn/tables/   a class a table
//   include/tarnbase/tarn/schema.hpp, include/tarnbase/tarn.hpp
#ifndef TARNC_FACE_H
#define TARNC_FACE_H

#include "model.h"
#include "output.h"
#include "render.h"
#include "source.h"

namespace tarnc {

// The name of a structure's class: without the prefix "st_" or "kel_".
std::string face_name(const Structure &structure);
// The name of a field's getter, which may not be a name of the class's own.
std::string face_member(const Structure &structure, const Field &field);
// The enumerators' names: without what all begin with, in lower case.
std::vector<std::string> face_enumerators(const Enumeration &enumeration);
// The name of a table's header.
std::string face_file(const Table &table);

// Adds the headers. `module` has what is said of the module as a whole.
void emit_face(const Schema &schema, const Context &module, Files &files);

// Reports two things of one name in C++, and names that are the interface's own.
void check_face(const Schema &schema, Diagnostics &diagnostics);

}  // namespace tarnc

#endif
