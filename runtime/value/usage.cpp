// SPDX-License-Identifier: Apache-2.0
#include "runtime/value/usage.h"

namespace tarnbase::runtime {

namespace {

// Logged as a delta, so that a rollback undoes this change and no other. The addition is
// atomic, since all threads share the counters.
void count(kel_handle *handle, std::uint32_t tx_id, std::uint64_t &counter, std::int32_t delta) {
    handle->delta_log_hook(handle->arena, &counter, delta, tx_id);
    __atomic_fetch_add(&counter, static_cast<std::uint64_t>(std::int64_t{delta}), __ATOMIC_RELAXED);
}

// Value types have one variant.
kel_variant_usage &usage(const kel_type_info &descriptor) {
    return descriptor.variant_info->variants[0];
}

}  // namespace

void count_created(kel_handle *handle, std::uint32_t tx_id, const kel_type_info &descriptor) {
    count(handle, tx_id, usage(descriptor).created, 1);
    count(handle, tx_id, usage(descriptor).live, 1);
}

void count_destroyed(kel_handle *handle, std::uint32_t tx_id, const kel_type_info &descriptor) {
    count(handle, tx_id, usage(descriptor).destroyed, 1);
    count(handle, tx_id, usage(descriptor).live, -1);
}

}  // namespace tarnbase::runtime
