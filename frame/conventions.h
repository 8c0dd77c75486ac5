/* SPDX-License-Identifier: Apache-2.0 */
// What workers do around their own steps besides call.h: trace lines, the tracking
// mode, choosing a descriptor, counting.
#ifndef TARNBASE_FRAME_CONVENTIONS_H
#define TARNBASE_FRAME_CONVENTIONS_H

#include <cstdint>
#include <cstdlib>

#include "frame/call.h"
#include "tarnbase/module.h"
#include "tarnbase/runtime.h"

namespace tarnbase {

// What the `_cr` text and wire forms return on failure.
inline constexpr std::uint32_t cr_failure = 0xffffffffU;

// Lines about tables have one trace module, lines about objects and descriptors another.
enum class TraceModule : std::uint8_t { type, table };

template <typename... Arguments>
void trace_table(std::uint32_t level, const char *format, Arguments... arguments) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    ptrail_wrapper(g_kel_tarnbase_table_trace_module_id, level, 0, format, arguments...);
}
template <typename... Arguments>
void trace_type(std::uint32_t level, const char *format, Arguments... arguments) {
    ptrail_wrapper(g_kel_tarnbase_type_trace_module_id, level, 0, format, arguments...);
#pragma GCC diagnostic pop
}

// Whether the handle tracks state. A mode word that is neither on nor off ends
// the process.
bool tracking_is_on(const kel_handle *handle);

// The descriptor that a new block or object gets: the constant one, or the store's
// copy when the handle uses per-store descriptors.
const kel_type_info *choose_descriptor(const Call &call, const kel_type_info *constant);

// Ends the process unless `descriptor` is set and begins with the magic word.
void require_descriptor(const kel_type_info *descriptor, TraceModule module);

// The usage record `index` of `descriptor`, for an item of variant `variant`. A null
// variant_info ends the process; fewer variants than that are traced.
kel_variant_usage &usage_record(const kel_type_info *descriptor, std::int32_t variant,
                                std::int32_t index, TraceModule module);

// Changes a usage counter by +1 or -1: plainly in a store's copy, else atomically.
void count(const kel_type_info *descriptor, std::uint64_t &counter, std::int32_t delta);

// The same, announced through delta_log_hook first.
void logged_count(const Call &call, const kel_type_info *descriptor, std::uint64_t &counter,
                  std::int32_t delta);

}  // namespace tarnbase

#endif
