// SPDX-License-Identifier: Apache-2.0
#include "runtime/value/header.h"

#include <cstdlib>

#include "runtime/variant/instance.h"

namespace tarnbase::runtime {

bool tracking_is_on(const kel_handle *handle) {
    if (handle->state_tracking == nullptr) return false;
    const std::uint32_t mode = handle->state_tracking->state_tracking_mode;
    if (mode == KEL_STATE_TRACKING_OFF) return false;
    if (mode == KEL_STATE_TRACKING_ON) return true;
    ptrail_wrapper(0, KEL_TRACE_FATAL, 0, "(FATAL): Corrupted KEL Handle");
    std::abort();
}

std::uint32_t take_modified_mark(void *value, const std::uint32_t *err) {
    if (*err != 0 || !is_modified(value)) return 0;
    set_modified(value, false);
    return 1;
}

}  // namespace tarnbase::runtime
