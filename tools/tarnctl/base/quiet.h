// SPDX-License-Identifier: Apache-2.0
//
// The library traces every call that it refuses. Where a command reports the refusal itself, the
// trace on standard error would repeat it.
#ifndef TARNCTL_BASE_QUIET_H
#define TARNCTL_BASE_QUIET_H

#include "tarnbase/embedded.h"

namespace tarnctl {

// Suppresses trace lines during its scope.
class QuietScope {
 public:
    QuietScope() {
        kel_trace_set_sink([](void *, uint16_t, uint32_t, const char *) {}, nullptr);
    }
    QuietScope(const QuietScope &) = delete;
    QuietScope &operator=(const QuietScope &) = delete;
    ~QuietScope() { kel_trace_set_sink(nullptr, nullptr); }
};

}  // namespace tarnctl

#endif
