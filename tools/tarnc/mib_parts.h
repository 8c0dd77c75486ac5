// SPDX-License-Identifier: Apache-2.0
// What the makers of both kinds of MIB table share.
#ifndef TARNC_MIB_PARTS_H
#define TARNC_MIB_PARTS_H

#include <string>
#include <string_view>

#include "model.h"
#include "syntax.h"

namespace tarnc {

// The field of a path, "aaa_authen.accepts"; null if there is none.
const Field *field_at(const Structure &structure, const std::string &path);

// "num_conns" as "NumConns", in the manner of objects' names.
std::string camel_words(std::string_view words);
// The enumerators' names in a MIB: "forceAuth" of KEL_DOT1X_AUTH_STATE_FORCE_AUTH.
std::vector<std::string> mib_names(const Enumeration &enumeration);
// The name of an enumeration's textual convention.
std::string mib_type(const Schema &schema, const Enumeration &enumeration);

std::vector<MibTable> make_standard_tables(const Schema &schema, const syntax::Schema &written,
                                           Diagnostics &diagnostics);
std::vector<MibTable> make_own_tables(const Schema &schema, const syntax::Schema &written,
                                      Diagnostics &diagnostics);

}  // namespace tarnc

#endif
