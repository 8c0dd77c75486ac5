// SPDX-License-Identifier: Apache-2.0
/// @file
/// Whether the objects of a session have state flags.
#ifndef TARNBASE_TARN_TRACKING_HPP
#define TARNBASE_TARN_TRACKING_HPP

#include <cstdint>

#include "tarnbase/embedded.h"
#include "tarnbase/handle.h"

namespace tarn {

/// How a session treats the state flags of objects.
enum class tracking : std::uint32_t {
    existing = 0,                  ///< the default: read and set where objects have them
    on = KEL_STATE_TRACKING_ON,    ///< also, objects are made with flags, and wire forms have them
    off = KEL_STATE_TRACKING_OFF,  ///< not even read; objects are made without them
};

/// Sets a handle's tracking until the end of the scope.
class tracking_scope {
 public:
    tracking_scope(kel_handle *handle, tracking mode) noexcept
        : handle_(handle),
          before_(handle->state_tracking == nullptr ? 0
                                                    : handle->state_tracking->state_tracking_mode) {
        kel_handle_set_state_tracking(handle, static_cast<std::uint32_t>(mode));
    }
    tracking_scope(const tracking_scope &) = delete;
    tracking_scope &operator=(const tracking_scope &) = delete;
    ~tracking_scope() { kel_handle_set_state_tracking(handle_, before_); }

 private:
    kel_handle *handle_;
    std::uint32_t before_;
};

}  // namespace tarn

#endif
