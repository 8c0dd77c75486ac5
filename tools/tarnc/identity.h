// SPDX-License-Identifier: Apache-2.0
// The identities of the schema's items: given, or a digest of the item's text.
#ifndef TARNC_IDENTITY_H
#define TARNC_IDENTITY_H

#include <string>

#include "model.h"
#include "syntax.h"

namespace tarnc {

// The schema text of an item: what decides its identity. Meanings are left out,
// so a better wording changes nothing.
std::string schema_text(const Structure &structure);
std::string schema_text(const Enumeration &enumeration);
std::string schema_text(const Table &table);
std::string record_schema_text(const Table &table);

// Takes the given identity; what isn't given is a digest of `text`.
Identity identify(const syntax::Identity &given, const std::string &text, Diagnostics &diagnostics);

// A 128-bit digest as 32 hexadecimal digits.
std::string digest(const std::string &text, std::uint64_t seed);

// Reports two items with one LUID.
void require_unique_luids(const Schema &schema, Diagnostics &diagnostics);

}  // namespace tarnc

#endif
