// SPDX-License-Identifier: Apache-2.0
#include "runtime/text/format.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

#include "runtime/base/errors.h"
#include "runtime/text/line.h"

namespace tarnbase::runtime {

namespace {

// Appends a format of texts and "%s" only, which nearly all are. False: of anything else.
bool append_texts(Line &line, const char *format, std::va_list arguments) {
    for (;;) {
        const char *percent = format;
        while (*percent != '%' && *percent != '\0') ++percent;
        line.text({format, static_cast<std::size_t>(percent - format)});
        if (*percent == '\0') return true;
        if (percent[1] != 's') return false;
        const char *const text = va_arg(arguments, const char *);
        line.text(text == nullptr ? "(null)" : text);
        format = percent + 2;
    }
}

// Formats a text that fills its buffer to the last character and leaves no byte for the
// NUL of vsnprintf. False: no memory.
bool format_without_nul(char *buffer, std::size_t length, const char *format,
                        std::va_list arguments) {
    const std::unique_ptr<char[]> text(new (std::nothrow) char[length + 1]);
    if (text == nullptr) return false;
    std::vsnprintf(text.get(), length + 1, format, arguments);
    std::memcpy(buffer, text.get(), length);
    return true;
}

std::uint32_t fail_with(kel_handle *handle, std::uint32_t *err, std::uint32_t code) {
    report_first_error(handle, err, code);
    return 0;
}

}  // namespace

std::uint32_t write_blanks(kel_handle *handle, char *buffer, std::uint32_t count,
                           std::uint32_t remaining, std::uint32_t *err) {
    if (count > remaining) return fail_with(handle, err, EMSGSIZE);
    if (count > 0) std::memset(buffer, ' ', count);
    return count;
}

bool write_texts(char *buffer, std::uint32_t remaining, const char *format, std::va_list arguments,
                 std::uint32_t &length) {
    Line line(buffer, remaining);
    if (!append_texts(line, format, arguments) || line.length() >= remaining) return false;
    length = static_cast<std::uint32_t>(line.length());
    buffer[length] = '\0';
    return true;
}

std::uint32_t write_formatted(kel_handle *handle, char *buffer, std::uint32_t remaining,
                              std::uint32_t *err, const char *format, std::va_list arguments) {
    std::va_list again;
    va_copy(again, arguments);
    const std::int64_t length = std::vsnprintf(buffer, remaining, format, arguments);
    const bool fits = length >= 0 && length <= std::int64_t{remaining};
    const bool lost_last = fits && length > 0 && length == std::int64_t{remaining};
    const bool complete = !lost_last || format_without_nul(buffer, remaining, format, again);
    va_end(again);
    if (!fits) return fail_with(handle, err, EMSGSIZE);
    if (!complete) return fail_with(handle, err, ENOMEM);
    return static_cast<std::uint32_t>(length);
}

}  // namespace tarnbase::runtime
