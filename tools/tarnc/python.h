// SPDX-License-Identifier: Apache-2.0
// The types of the Python package, as type checkers see them. The package makes the same types at
// run time, from the catalogue; its tests compare both.
#ifndef TARNC_PYTHON_H
#define TARNC_PYTHON_H

#include <string>

#include "model.h"

namespace tarnc {

// The text of schema.pyi. `origin` is the module file.
std::string python_types(const Schema &schema, const std::string &origin);

}  // namespace tarnc

#endif
