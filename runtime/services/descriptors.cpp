// SPDX-License-Identifier: Apache-2.0
#include "tarnbase/runtime.h"

// Ready before any library's start-up routine runs.
constinit kel_module_list kel_module_tot_root = {0, nullptr, &kel_module_tot_root.first};
