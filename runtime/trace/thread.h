/* SPDX-License-Identifier: Apache-2.0 */
// What belongs to the calling thread: its tenant and its trace correlation.
#ifndef TARNBASE_RUNTIME_TRACE_THREAD_H
#define TARNBASE_RUNTIME_TRACE_THREAD_H

#include <cstdint>

namespace tarnbase::runtime {

struct ThreadContext {
    std::uint64_t uuid = 0;
    std::uint8_t mark = 0;
    std::uint16_t tenant = 0;
};

extern thread_local constinit ThreadContext thread_context;

}  // namespace tarnbase::runtime

#endif
