// SPDX-License-Identifier: Apache-2.0
// The MIBs of a module as templates see them.
#ifndef TARNC_CONTEXT_MIB_H
#define TARNC_CONTEXT_MIB_H

#include <string>

#include "model.h"
#include "render.h"

namespace tarnc {

// "TARNBASE-MIB"
std::string mib_module(const Schema &schema);
// For templates/module.mib and templates/mib_map.cpp.
Context context_of_mib(const Schema &schema);

}  // namespace tarnc

#endif
