/* SPDX-License-Identifier: Apache-2.0 */
// This thread's last error: its number and its text.
#ifndef TARNBASE_RUNTIME_BASE_ERROR_TEXT_H
#define TARNBASE_RUNTIME_BASE_ERROR_TEXT_H

#include <cstdint>

#include "tarnbase/export.h"

namespace tarnbase::runtime {

// Sets both and returns `code`.
std::uint32_t fail(std::uint32_t code, const char *format, ...) TARNBASE_PRINTF(2, 3);

// The same for `errno`, with a path and the number's text.
std::uint32_t fail_errno(const char *path);

const char *error_text();
std::uint32_t error_code();

}  // namespace tarnbase::runtime

#endif
