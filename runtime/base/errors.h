/* SPDX-License-Identifier: Apache-2.0 */
// What every service of the value half does around its own steps: errors here, and stores,
// which are announced, in announce.h.
#ifndef TARNBASE_RUNTIME_BASE_ERRORS_H
#define TARNBASE_RUNTIME_BASE_ERRORS_H

#include <cstdint>

#include "runtime/base/announce.h"
#include "tarnbase/runtime.h"

namespace tarn::runtime {

enum class Error : std::uint32_t {
    not_found = 2,
    no_memory = 12,
    invalid = 22,
    no_room = 90,
};

// Reports an error: in `*err` first, then in the handle.
inline void report(kel_handle *handle, std::uint32_t *err, Error error) {
    *err = static_cast<std::uint32_t>(error);
    kel_store_err(handle, *err);
}

// The same for an operation that runs on after an error: the first one stays.
inline void report_first(kel_handle *handle, std::uint32_t *err, Error error) {
    if (*err == 0) report(handle, err, error);
}

}  // namespace tarn::runtime

#endif
