/* SPDX-License-Identifier: Apache-2.0 */
// Services that a runtime may have besides those of runtime.h, which every runtime has. The
// library doesn't import them: it looks them up by name when it is loaded.
#ifndef TARNBASE_FRAME_OPTIONAL_SERVICES_H
#define TARNBASE_FRAME_OPTIONAL_SERVICES_H

namespace tarnbase {

// The address of the function or object `name` in the process; null if there is none. Any thread
// may call it. A search takes microseconds, so keep its result in a variable whose initializer runs
// when the library is loaded. Until then the variable is null, and callers must accept that.
void *find_optional_service(const char *name);

}  // namespace tarnbase

#endif
