// SPDX-License-Identifier: Apache-2.0
// The trace modules of the library.
#include "tarnbase/module.h"
#include "tarnbase/runtime.h"

uint16_t g_kel_tarnbase_type_trace_module_id = 0;
uint16_t g_kel_tarnbase_table_trace_module_id = 0;
uint16_t g_kel_tarnbase_queue_trace_module_id = 0;
uint16_t g_kel_tarnbase_stub_trace_module_id = 0;

namespace {

// A word for the trace service's own use.
uint64_t type_trace_state = 0;

}  // namespace

void kel_tarnbase_type_trace_init() {
    ptrail_module_init_fn("kel_tarnbase_type", &g_kel_tarnbase_type_trace_module_id,
                          &type_trace_state);
}
