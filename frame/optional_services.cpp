// SPDX-License-Identifier: Apache-2.0
#include "frame/optional_services.h"

#include <dlfcn.h>

namespace tarnbase {

// The default scope is that of the library's own imports: also the runtime that a program has
// loaded with the library, and without RTLD_GLOBAL.
void *find_optional_service(const char *name) { return dlsym(RTLD_DEFAULT, name); }

}  // namespace tarnbase
