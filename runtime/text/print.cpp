// SPDX-License-Identifier: Apache-2.0
// The services that a printed text's frame is written with. They run on after an
// error, so that a text which failed in its middle is still closed; the error
// that was there first stays.
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "runtime/base/errors.h"

namespace {

using namespace tarn::runtime;

// Formats a text that fills its room to the last character, with no place left
// for the NUL that vsnprintf wants to add. False: no memory.
bool format_without_nul(char *buffer, std::size_t length, const char *format,
                        std::va_list arguments) {
    const std::unique_ptr<char[]> text(new (std::nothrow) char[length + 1]);
    if (text == nullptr) return false;
    std::vsnprintf(text.get(), length + 1, format, arguments);
    std::memcpy(buffer, text.get(), length);
    return true;
}

std::uint32_t fail_with(kel_handle *handle, std::uint32_t *err, std::uint32_t error) {
    report_first(handle, err, error);
    return 0;
}

}  // namespace

std::uint32_t kel_print_space(kel_handle *handle, std::uint32_t, char *buffer, std::uint32_t indent,
                              std::uint32_t remaining, std::uint32_t *err) {
    if (indent > remaining) return fail_with(handle, err, EMSGSIZE);
    if (indent > 0) std::memset(buffer, ' ', indent);
    return indent;
}

std::uint32_t kel_snprintf(kel_handle *handle, std::uint32_t, char *buffer, std::uint32_t remaining,
                           std::uint32_t *err, const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::va_list again;
    va_copy(again, arguments);
    const std::int64_t length = std::vsnprintf(buffer, remaining, format, arguments);
    va_end(arguments);
    const bool fits = length >= 0 && length <= std::int64_t{remaining};
    const bool cut = fits && length > 0 && length == std::int64_t{remaining};
    const bool mended = !cut || format_without_nul(buffer, remaining, format, again);
    va_end(again);
    if (!fits) return fail_with(handle, err, EMSGSIZE);
    if (!mended) return fail_with(handle, err, ENOMEM);
    return static_cast<std::uint32_t>(length);
}
