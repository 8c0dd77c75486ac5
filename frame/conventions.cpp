// SPDX-License-Identifier: Apache-2.0
#include "frame/conventions.h"

namespace tarnbase {

namespace {

// The text with its prefix is the format itself: a runtime may distinguish lines by it.
template <typename... Arguments>
void trace(TraceModule module, std::uint32_t level, const char *format, Arguments... arguments) {
    if (module == TraceModule::table) {
        trace_table(level, format, arguments...);
    } else {
        trace_type(level, format, arguments...);
    }
}

[[noreturn]] void fatal(TraceModule module, const char *text) {
    trace(module, KEL_TRACE_FATAL, text);
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
            fatal(TraceModule::type, "(FATAL): Corrupted KEL Handle");
    }
}

const kel_type_info *choose_descriptor(const Call &call, const kel_type_info *constant) {
    if (call.handle->store_types_enabled == 0) return constant;
    return kel_type_info_ptr_get(call.handle, call.tx_id, constant, &tarnbase_typeinfo_initialize);
}

void require_descriptor(const kel_type_info *descriptor, TraceModule module) {
    if (descriptor == nullptr || descriptor->magic != KEL_TYPE_INFO_MAGIC) {
        fatal(module, "(FATAL): tinfo is null or corrupted");
    }
}

kel_variant_usage &usage_record(const kel_type_info *descriptor, std::int32_t variant,
                                std::int32_t index, TraceModule module) {
    const kel_variant_info *info = descriptor->variant_info;
    if (info == nullptr) fatal(module, "(FATAL): varinfo is NULL");
    if (info->variant_count < variant) {
        trace(module, KEL_TRACE_INFO, "(info): variant %u requested only %u variants present",
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

void logged_count(const Call &call, const kel_type_info *descriptor, std::uint64_t &counter,
                  std::int32_t delta) {
    call.handle->delta_log_hook(call.handle->arena, &counter, delta, call.tx_id);
    count(descriptor, counter, delta);
}

}  // namespace tarnbase
