/* SPDX-License-Identifier: Apache-2.0 */
// What was wrong in this thread's last call that failed.
#ifndef TARNBASE_RUNTIME_BASE_ERROR_TEXT_H
#define TARNBASE_RUNTIME_BASE_ERROR_TEXT_H

#include <cstdint>

#include "tarnbase/export.h"

namespace tarn::runtime {

// Keeps the formatted text for kel_error_text and returns `code`.
std::uint32_t fail(std::uint32_t code, const char *format, ...) TARNBASE_PRINTF(2, 3);

}  // namespace tarn::runtime

#endif
