// SPDX-License-Identifier: Apache-2.0
// An item as templates and lists of operations see it: names and numbers, ready to write.
#ifndef TARNC_CONTEXT_H
#define TARNC_CONTEXT_H

#include "model.h"
#include "render.h"

namespace tarnc {

Context context_of(const Schema &schema, const Structure &structure);
Context context_of(const Schema &schema, const Enumeration &enumeration);
Context context_of(const Schema &schema, const Table &table);

// All kinds of field.
Context kinds();

// The schema file of an item, relative to the module file.
std::string origin(const Schema &schema, const Place &place);

// "{0x09, 0xf0, ...}" on two lines.
std::string bytes_of(const std::string &luid);

// A field's name as that of an argument or a member: neither a keyword nor a type.
std::string safe_name(const Schema &schema, const std::string &name);

}  // namespace tarnc

#endif
