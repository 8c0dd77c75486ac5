/* SPDX-License-Identifier: Apache-2.0 */
// The text of this thread's last error.
#ifndef TARNBASE_RUNTIME_BASE_ERROR_TEXT_H
#define TARNBASE_RUNTIME_BASE_ERROR_TEXT_H

#include <cstdint>

#include "tarnbase/export.h"

namespace tarnbase::runtime {

// Sets the text and returns `code`.
std::uint32_t fail(std::uint32_t code, const char *format, ...) TARNBASE_PRINTF(2, 3);

const char *error_text();

}  // namespace tarnbase::runtime

#endif
