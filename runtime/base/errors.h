/* SPDX-License-Identifier: Apache-2.0 */
// What every service of the value half does around its own steps: errors here, and stores,
// which are announced, in announce.h.
#ifndef TARNBASE_RUNTIME_BASE_ERRORS_H
#define TARNBASE_RUNTIME_BASE_ERRORS_H

#include <cerrno>
#include <cstdint>

#include "runtime/base/announce.h"
#include "tarnbase/runtime.h"

namespace tarn::runtime {

// Reports an error: in `*err` first, then in the handle.
inline void report(kel_handle *handle, std::uint32_t *err, std::uint32_t error) {
    *err = error;
    kel_store_err(handle, error);
}

// The same for an operation that runs on after an error: the first one stays.
inline void report_first(kel_handle *handle, std::uint32_t *err, std::uint32_t error) {
    if (*err == 0) report(handle, err, error);
}

}  // namespace tarn::runtime

#endif
