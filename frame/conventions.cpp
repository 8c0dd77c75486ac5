// SPDX-License-Identifier: Apache-2.0
#include "frame/conventions.h"

namespace tarnbase {

namespace {

// The text with its prefix is the format itself: a runtime may tell lines apart by it.
template <typename... Arguments>
void trace(bool of_table, std::uint32_t level, const char *format, Arguments... arguments) {
    if (of_table) {
        trace_table(level, format, arguments...);
    } else {
        trace_type(level, format, arguments...);
    }
}

[[noreturn]] void fatal(bool of_table, const char *text) {
    trace(of_table, KEL_TRACE_FATAL, text);
    std::abort();
}

}  // namespace

bool tracking_is_on(const kel_handle *handle) {
    if (handle->state_tracking == nullptr) return false;
    switch (handle->state_tracking->state_tracking_mode) {
        case KEL_STATE_TRACKING_ON:
            return true;
        case KEL_STATE_TRACKING_OFF:
            return false;
        default:
            fatal(false, "(FATAL): Corrupted KEL Handle");
    }
}

const kel_type_info *choose_descriptor(kel_handle *handle, std::uint32_t tx_id,
                                       const kel_type_info *constant) {
    if (handle->store_types_enabled == 0) return constant;
    return kel_type_info_ptr_get(handle, tx_id, constant, &tarnbase_typeinfo_initialize);
}

void require_descriptor(const kel_type_info *descriptor, bool of_table) {
    if (descriptor == nullptr || descriptor->magic != KEL_TYPE_INFO_MAGIC) {
        fatal(of_table, "(FATAL): tinfo is null or corrupted");
    }
}

kel_variant_usage &usage_record(const kel_type_info *descriptor, std::int32_t variant,
                                std::int32_t index, bool of_table) {
    const kel_variant_info *info = descriptor->variant_info;
    if (info == nullptr) fatal(of_table, "(FATAL): varinfo is NULL");
    if (info->variant_count < variant) {
        trace(of_table, KEL_TRACE_INFO, "(info): variant %u requested only %u variants present",
              static_cast<std::uint32_t>(variant), static_cast<std::uint32_t>(info->variant_count));
    }
    return info->variants[index];
}

void count(const kel_type_info *descriptor, std::uint64_t &counter, std::int32_t delta) {
    const auto step = static_cast<std::uint64_t>(static_cast<std::int64_t>(delta));
    if (descriptor->store_private != 0) {
        counter += step;
    } else {
        __atomic_fetch_add(&counter, step, __ATOMIC_SEQ_CST);
    }
}

void logged_count(kel_handle *handle, std::uint32_t tx_id, const kel_type_info *descriptor,
                  std::uint64_t &counter, std::int32_t delta) {
    handle->delta_log_hook(handle->arena, &counter, delta, tx_id);
    count(descriptor, counter, delta);
}

}  // namespace tarnbase
