/* SPDX-License-Identifier: Apache-2.0 */
// Trace modules: a name has the same id everywhere in a process.
#ifndef TARNBASE_RUNTIME_TRACE_MODULE_H
#define TARNBASE_RUNTIME_TRACE_MODULE_H

#include <cstdint>

namespace tarnbase::runtime {

// The id of a name, a new one for a new name. 0, which is no module, when none is left.
std::uint16_t trace_module_id(const char *name);

}  // namespace tarnbase::runtime

#endif
