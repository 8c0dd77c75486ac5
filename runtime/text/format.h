/* SPDX-License-Identifier: Apache-2.0 */
// Blanks and formatted text for printed objects. Both work after an error too, so that a
// text that failed in the middle is still closed; the first error stays.
#ifndef TARNBASE_RUNTIME_TEXT_FORMAT_H
#define TARNBASE_RUNTIME_TEXT_FORMAT_H

#include <cstdarg>
#include <cstdint>

#include "tarnbase/handle.h"

namespace tarnbase::runtime {

// Returns `count`; 0 with EMSGSIZE if the blanks don't fit.
std::uint32_t write_blanks(kel_handle *handle, char *buffer, std::uint32_t count,
                           std::uint32_t remaining, std::uint32_t *err);

// Writes a format of texts and "%s" only, which nearly all are, and a NUL. `length` gets the
// characters before it. False: there is something else in the format, or no space for all of it;
// then the buffer has no meaning, and `write_formatted` is to write it.
bool write_texts(char *buffer, std::uint32_t remaining, const char *format, std::va_list arguments,
                 std::uint32_t &length);

// Returns the characters written; 0 with EMSGSIZE if they don't fit. A NUL follows if one
// more byte is free.
std::uint32_t write_formatted(kel_handle *handle, char *buffer, std::uint32_t remaining,
                              std::uint32_t *err, const char *format, std::va_list arguments);

}  // namespace tarnbase::runtime

#endif
