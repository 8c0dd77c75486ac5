// SPDX-License-Identifier: Apache-2.0
#include "runtime/check/findings.h"

#include <cstdarg>
#include <cstdio>

namespace tarnbase::runtime {

void Findings::add(const std::string &where, const char *format, ...) {
    char text[1024];
    const int length = std::snprintf(text, sizeof text / 2, "%s: ", where.c_str());
    const auto used =
        length < 0 ? 0
                   : std::min<std::size_t>(static_cast<std::size_t>(length), sizeof text / 2 - 1);
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text + used, sizeof text - used, format, arguments);
    va_end(arguments);
    ++count_;
    report_(text);
}

}  // namespace tarnbase::runtime
