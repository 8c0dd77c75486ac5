// SPDX-License-Identifier: Apache-2.0
// A thread's tenant and trace correlation, and the trace sink.
#include "runtime/trace/sink.h"
#include "runtime/trace/thread.h"
#include "tarnbase/embedded.h"

using tarnbase::runtime::thread_context;

void kel_thread_set_tenant(std::uint16_t tenant) { thread_context.tenant = tenant; }

void kel_thread_set_correlation(std::uint64_t uuid, std::uint8_t mark) {
    thread_context.uuid = uuid;
    thread_context.mark = mark;
}

void kel_trace_set_sink(kel_trace_sink function, void *context) {
    tarnbase::runtime::set_trace_sink(function, context);
}
