/* SPDX-License-Identifier: Apache-2.0 */
// Trace lines and the process's sink for them.
#ifndef TARNBASE_RUNTIME_TRACE_SINK_H
#define TARNBASE_RUNTIME_TRACE_SINK_H

#include <atomic>
#include <cstdarg>
#include <cstdint>

#include "tarnbase/embedded.h"
#include "tarnbase/runtime.h"

namespace tarnbase::runtime {

// Null: the default sink, which writes levels 0 to 3 to standard error.
void set_trace_sink(kel_trace_sink function, void *context);

// Whether the program has set a sink, which gets all levels.
extern std::atomic<bool> trace_sink_is_set;

// Whether a line of this level goes anywhere. One that doesn't costs neither the formatting
// nor the lock.
inline bool is_traced(std::uint32_t level) {
    return level <= KEL_TRACE_ERROR || trace_sink_is_set.load(std::memory_order_acquire);
}

// Formats a line and passes it to the sink.
void trace_line(std::uint16_t module_id, std::uint32_t level, const char *format,
                std::va_list arguments);

}  // namespace tarnbase::runtime

#endif
