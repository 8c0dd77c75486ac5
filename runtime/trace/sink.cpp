// SPDX-License-Identifier: Apache-2.0
#include "runtime/trace/sink.h"

#include <atomic>
#include <cstdio>
#include <mutex>

#include "tarnbase/runtime.h"

namespace tarnbase::runtime {

namespace {

constexpr std::size_t max_line_length = 1024;  // a longer line is cut

struct Sink {
    kel_trace_sink function = nullptr;
    void *context = nullptr;
};

std::mutex sink_mutex;
Sink sink;
// Whether the program has set a sink, which gets all levels. Without one, a line of a lower
// level costs neither the lock nor the formatting.
std::atomic<bool> sink_is_set{false};

Sink current_sink() {
    const std::lock_guard lock(sink_mutex);
    return sink;
}

}  // namespace

void set_trace_sink(kel_trace_sink function, void *context) {
    const std::lock_guard lock(sink_mutex);
    sink = {function, context};
    sink_is_set.store(function != nullptr, std::memory_order_release);
}

void trace_line(std::uint16_t module_id, std::uint32_t level, const char *format,
                std::va_list arguments) {
    if (level > KEL_TRACE_ERROR && !sink_is_set.load(std::memory_order_acquire)) return;
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
