// SPDX-License-Identifier: Apache-2.0
#include "runtime/trace/sink.h"

#include <cstdio>
#include <mutex>

namespace tarnbase::runtime {

namespace {

constexpr std::size_t max_line_length = 1024;  // a longer line is cut

struct Sink {
    kel_trace_sink function = nullptr;
    void *context = nullptr;
};

std::mutex sink_mutex;
Sink sink;

Sink current_sink() {
    const std::lock_guard lock(sink_mutex);
    return sink;
}

}  // namespace

constinit std::atomic<bool> trace_sink_is_set{false};

void set_trace_sink(kel_trace_sink function, void *context) {
    const std::lock_guard lock(sink_mutex);
    sink = {function, context};
    trace_sink_is_set.store(function != nullptr, std::memory_order_release);
}

void trace_line(std::uint16_t module_id, std::uint32_t level, const char *format,
                std::va_list arguments) {
    char line[max_line_length];
    std::vsnprintf(line, sizeof line, format, arguments);
    // Called without the lock: a sink may trace, or set another sink.
    const Sink current = current_sink();
    if (current.function != nullptr) {
        current.function(current.context, module_id, level, line);
    } else if (level <= KEL_TRACE_ERROR) {
        std::fprintf(stderr, "%s\n", line);
    }
}

}  // namespace tarnbase::runtime
