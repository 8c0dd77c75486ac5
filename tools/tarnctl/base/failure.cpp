// SPDX-License-Identifier: Apache-2.0
#include "base/failure.h"

#include <fmt/format.h>

#include <cstring>

#include "base/suggestion.h"

namespace tarnctl {

Failure no_such(Exit code, std::string_view kind, std::string_view name,
                const std::vector<std::string_view> &known) {
    std::string text = fmt::format("no {} `{}`", kind, name);
    if (const auto near = nearest(name, known)) text += fmt::format("; did you mean `{}`?", *near);
    return Failure(code, text);
}

void need(uint32_t err, std::string_view what) {
    if (err != 0)
        throw Failure(Exit::store,
                      fmt::format("{}: {}", what, std::strerror(static_cast<int>(err))));
}

}  // namespace tarnctl
