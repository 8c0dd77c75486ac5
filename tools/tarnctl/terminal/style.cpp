// SPDX-License-Identifier: Apache-2.0
#include "terminal/style.h"

#include <fmt/core.h>

namespace tarnctl {
namespace {

std::string styled(int code, std::string_view text, const Screen &screen) {
    if (!screen.colour || text.empty()) return std::string(text);
    return fmt::format("\x1b[{}m{}\x1b[0m", code, text);
}

}  // namespace

std::string bold(std::string_view text, const Screen &screen) { return styled(1, text, screen); }
std::string dim(std::string_view text, const Screen &screen) { return styled(2, text, screen); }
std::string red(std::string_view text, const Screen &screen) { return styled(31, text, screen); }
std::string green(std::string_view text, const Screen &screen) { return styled(32, text, screen); }
std::string yellow(std::string_view text, const Screen &screen) { return styled(33, text, screen); }

}  // namespace tarnctl
