// SPDX-License-Identifier: Apache-2.0
#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <mutex>

#include "tarnbase/embedded.h"
#include "tarnbase/runtime.h"

namespace {

constexpr std::size_t longest_line = 1024;  // a longer one is cut

struct Sink {
    kel_trace_sink function = nullptr;
    void *context = nullptr;
};

std::mutex sink_mutex;
Sink sink;
// Whether a program's sink takes all levels; else a line that nobody sees needs
// neither the lock nor its formatting.
std::atomic<bool> sink_is_set{false};

Sink current_sink() {
    const std::lock_guard lock(sink_mutex);
    return sink;
}

}  // namespace

void kel_trace_set_sink(kel_trace_sink function, void *context) {
    const std::lock_guard lock(sink_mutex);
    sink = {function, context};
    sink_is_set.store(function != nullptr, std::memory_order_release);
}

void ptrail_wrapper(std::uint16_t module_id, std::uint32_t level, std::uint32_t, const char *format,
                    ...) {
    if (level > KEL_TRACE_ERROR && !sink_is_set.load(std::memory_order_acquire)) return;
    char line[longest_line];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    // Called without the lock: a sink may trace, or set another sink.
    const Sink taker = current_sink();
    if (taker.function != nullptr) {
        taker.function(taker.context, module_id, level, line);
    } else if (level <= KEL_TRACE_ERROR) {
        std::fprintf(stderr, "%s\n", line);
    }
}
