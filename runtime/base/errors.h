/* SPDX-License-Identifier: Apache-2.0 */
// How a service reports an error: an errno number in `*err`, and in the handle through
// kel_store_err, so that a program that replaces this service sees every error. The text
// of an error is kept by error_text.h.
#ifndef TARNBASE_RUNTIME_BASE_ERRORS_H
#define TARNBASE_RUNTIME_BASE_ERRORS_H

#include <cerrno>
#include <cstdint>

#include "tarnbase/runtime.h"

namespace tarnbase::runtime {

inline void report_error(kel_handle *handle, std::uint32_t *err, std::uint32_t code) {
    *err = code;
    kel_store_err(handle, code);
}

// The same for an operation that continues after an error: the first one stays.
inline void report_first_error(kel_handle *handle, std::uint32_t *err, std::uint32_t code) {
    if (*err == 0) report_error(handle, err, code);
}

}  // namespace tarnbase::runtime

#endif
