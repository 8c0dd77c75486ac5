// SPDX-License-Identifier: Apache-2.0
#include <cstdarg>

#include "runtime/trace/module.h"
#include "runtime/trace/sink.h"
#include "runtime/trace/thread.h"
#include "tarnbase/runtime.h"

using namespace tarnbase::runtime;

void ptrail_wrapper(std::uint16_t module_id, std::uint32_t level, std::uint32_t, const char *format,
                    ...) {
    if (!is_traced(level)) return;
    std::va_list arguments;
    va_start(arguments, format);
    trace_line(module_id, level, format, arguments);
    va_end(arguments);
}

// Every creation calls this, so a nonzero state, which says that the id is there, returns
// at once.
void ptrail_module_init_fn(const char *name, std::uint16_t *module_id, std::uint64_t *state) {
    if (__atomic_load_n(state, __ATOMIC_ACQUIRE) != 0) return;
    __atomic_store_n(module_id, trace_module_id(name), __ATOMIC_RELAXED);
    __atomic_store_n(state, std::uint64_t{1}, __ATOMIC_RELEASE);
}

void ptrail_get_radioactive_bit(std::uint64_t *uuid, std::uint8_t *mark) {
    *uuid = thread_context.uuid;
    *mark = thread_context.mark;
}
