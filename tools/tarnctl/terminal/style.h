// SPDX-License-Identifier: Apache-2.0
//
// Text in colour if the screen has colours.
#ifndef TARNCTL_TERMINAL_STYLE_H
#define TARNCTL_TERMINAL_STYLE_H

#include <string>
#include <string_view>

#include "terminal/screen.h"

namespace tarnctl {

// A style, as a value.
using Style = std::string (*)(std::string_view text, const Screen &screen);

std::string bold(std::string_view text, const Screen &screen);
std::string dim(std::string_view text, const Screen &screen);
std::string red(std::string_view text, const Screen &screen);
std::string green(std::string_view text, const Screen &screen);
std::string yellow(std::string_view text, const Screen &screen);

}  // namespace tarnctl

#endif
