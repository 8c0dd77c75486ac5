// SPDX-License-Identifier: Apache-2.0
#include "runtime/base/error_text.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace tarnbase::runtime {

namespace {

thread_local constinit char text[1024] = "";
thread_local constinit std::uint32_t number = 0;

}  // namespace

std::uint32_t fail(std::uint32_t code, const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    number = code;
    return code;
}

std::uint32_t fail_errno(const char *path) {
    const int error = errno;
    return fail(static_cast<std::uint32_t>(error), "%s: %s", path, std::strerror(error));
}

const char *error_text() { return text; }

std::uint32_t error_code() { return number; }

}  // namespace tarnbase::runtime
