// SPDX-License-Identifier: Apache-2.0
// The C++ interface made from the schema: the names of items, and the headers.
//
//   include/tarnbase/tarn/types/    a class for each structure
//   include/tarnbase/tarn/enums/    an enumeration for each
//   include/tarnbase/tarn/tables/   a class for each table
//   include/tarnbase/tarn/schema.hpp, include/tarnbase/tarn.hpp
#ifndef TARNC_FACE_H
#define TARNC_FACE_H

#include "model.h"
#include "output.h"
#include "render.h"
#include "source.h"

namespace tarnc {

// A structure's name without the prefix "st_" or "kel_".
std::string bare_name(const Structure &structure);
// The enumerators' names: without their common prefix, in lower case.
std::vector<std::string> bare_enumerators(const Enumeration &enumeration);
// The name of a structure's class: its bare name, which is no keyword.
std::string face_name(const Structure &structure);
// The name of a field's getter, which must differ from the class's own names.
std::string face_member(const Structure &structure, const Field &field);
// The enumerators' bare names, which are no keywords.
std::vector<std::string> face_enumerators(const Enumeration &enumeration);
// The name of a table's header.
std::string face_file(const Table &table);

// Adds the headers. `module` is the context of the module as a whole.
void emit_face(const Schema &schema, const Context &module, Files &files);

// Reports names that occur twice in C++, and names that the interface itself uses.
void check_face(const Schema &schema, Diagnostics &diagnostics);

}  // namespace tarnc

#endif
