/* SPDX-License-Identifier: Apache-2.0 */
// What every worker does around its own steps: the prologue, reporting an
// error, announcing a store, the tracking mode, choosing a descriptor, counting.
#ifndef TARNBASE_FRAME_CONVENTIONS_H
#define TARNBASE_FRAME_CONVENTIONS_H

#include <cstdint>
#include <cstdlib>

#include "tarnbase/module.h"
#include "tarnbase/runtime.h"

namespace tarnbase {

inline constexpr std::uint32_t error_not_found = 2;
inline constexpr std::uint32_t error_too_big = 7;
inline constexpr std::uint32_t error_again = 11;
inline constexpr std::uint32_t error_no_memory = 12;
inline constexpr std::uint32_t error_fault = 14;
inline constexpr std::uint32_t error_exists = 17;
inline constexpr std::uint32_t error_invalid = 22;
inline constexpr std::uint32_t error_epoch = 43;
inline constexpr std::uint32_t error_no_room = 90;

// What the `_cr` text and wire forms answer on failure.
inline constexpr std::uint32_t cr_failure = 0xffffffffU;

// Trace lines of tables go out under one module id, those of objects and
// descriptors under the other.
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

// Opens an operation: false if an error is set already, else clears last_error.
inline bool enter(kel_handle *handle, const std::uint32_t *err) {
    if (*err != 0) return false;
    kel_clear_last_error(handle);
    return true;
}

// Reports an error: in `*err` first, then in the handle.
inline void report(kel_handle *handle, std::uint32_t *err, std::uint32_t code) {
    *err = code;
    kel_store_err(handle, code);
}

inline void log_write(kel_handle *handle, std::uint32_t tx_id, void *address,
                      std::uint64_t length) {
    handle->write_log_hook(handle->arena, address, length, tx_id);
}

// Announces a store, then makes it.
template <typename T>
void logged_store(kel_handle *handle, std::uint32_t tx_id, T &place, T value) {
    log_write(handle, tx_id, &place, sizeof(T));
    place = value;
}

// Whether the handle tracks state. A mode word that is neither on nor off ends
// the process.
bool tracking_is_on(const kel_handle *handle);

// The descriptor that a new block or object gets: the constant one, or the
// store's copy when the handle uses per-store descriptors.
const kel_type_info *choose_descriptor(kel_handle *handle, std::uint32_t tx_id,
                                       const kel_type_info *constant);

// Ends the process unless `descriptor` is set and begins with the magic word.
// `of_table` chooses the trace module, here and below.
void require_descriptor(const kel_type_info *descriptor, bool of_table);

// The usage record of entry `index` behind `descriptor`, for an item that wants
// `variant`. A null variant_info ends the process; fewer variants than wanted are
// traced.
kel_variant_usage &usage_record(const kel_type_info *descriptor, std::int32_t variant,
                                std::int32_t index, bool of_table);

// Changes a usage counter by +1 or -1: plainly in a store's copy, else locked.
void count(const kel_type_info *descriptor, std::uint64_t &counter, std::int32_t delta);

// The same, announced through delta_log_hook first.
void logged_count(kel_handle *handle, std::uint32_t tx_id, const kel_type_info *descriptor,
                  std::uint64_t &counter, std::int32_t delta);

}  // namespace tarnbase

#endif
