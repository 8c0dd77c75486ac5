// SPDX-License-Identifier: Apache-2.0
//
// The library traces what it refuses; where a refusal is an answer that was asked for, the trace
// would only repeat on standard error what the command says.
#ifndef TARNCTL_BASE_QUIET_H
#define TARNCTL_BASE_QUIET_H

#include "tarnbase/embedded.h"

namespace tarnctl {

// No trace lines while the scope lasts.
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
