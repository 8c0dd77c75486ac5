// SPDX-License-Identifier: Apache-2.0
#ifndef TARNC_PARSER_H
#define TARNC_PARSER_H

#include <string>

#include "source.h"
#include "syntax.h"

namespace tarnc {

// Reads a module file and the files that it includes. What can't be read is
// reported and skipped, so that one run reports all errors.
syntax::Schema parse_schema(const std::string &path, Diagnostics &diagnostics);

}  // namespace tarnc

#endif
