// SPDX-License-Identifier: Apache-2.0
// What belongs to the calling thread: its tenant and its trace correlation.
#include <cstdint>

#include "tarnbase/embedded.h"
#include "tarnbase/runtime.h"

namespace {

struct ThreadContext {
    std::uint64_t uuid = 0;
    std::uint8_t mark = 0;
    std::uint16_t tenant = 0;
};

thread_local constinit ThreadContext context;

}  // namespace

void kel_thread_set_tenant(std::uint16_t tenant) { context.tenant = tenant; }

void kel_thread_set_correlation(std::uint64_t uuid, std::uint8_t mark) {
    context.uuid = uuid;
    context.mark = mark;
}

void mt_get_tenant_id(std::uint16_t *tenant) { *tenant = context.tenant; }

void ptrail_get_radioactive_bit(std::uint64_t *uuid, std::uint8_t *mark) {
    *uuid = context.uuid;
    *mark = context.mark;
}
