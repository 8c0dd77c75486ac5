/* SPDX-License-Identifier: Apache-2.0 */
// Trace lines and the process's sink for them.
#ifndef TARNBASE_RUNTIME_TRACE_SINK_H
#define TARNBASE_RUNTIME_TRACE_SINK_H

#include <cstdarg>
#include <cstdint>

#include "tarnbase/embedded.h"

namespace tarnbase::runtime {

// Null: the default sink, which writes levels 0 to 3 to standard error.
void set_trace_sink(kel_trace_sink function, void *context);

// Formats a line and passes it to the sink.
void trace_line(std::uint16_t module_id, std::uint32_t level, const char *format,
                std::va_list arguments);

}  // namespace tarnbase::runtime

#endif
