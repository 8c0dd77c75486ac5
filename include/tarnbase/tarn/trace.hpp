// SPDX-License-Identifier: Apache-2.0
/// @file
/// Trace lines of the library.
#ifndef TARNBASE_TARN_TRACE_HPP
#define TARNBASE_TARN_TRACE_HPP

#include <cstdint>

#include "tarnbase/embedded.h"

namespace tarn {

/// Suppresses the process's trace lines until the end of the scope; then the default sink is
/// set. The library traces every call that it refuses: for a program that reports the error
/// itself.
class quiet_scope {
 public:
    quiet_scope() noexcept {
        kel_trace_set_sink([](void *, std::uint16_t, std::uint32_t, const char *) {}, nullptr);
    }
    quiet_scope(const quiet_scope &) = delete;
    quiet_scope &operator=(const quiet_scope &) = delete;
    ~quiet_scope() { kel_trace_set_sink(nullptr, nullptr); }
};

}  // namespace tarn

#endif
