// SPDX-License-Identifier: Apache-2.0
//
// Text in colour, where the screen has colours; elsewhere the text as it is.
#ifndef TARNCTL_TERMINAL_STYLE_H
#define TARNCTL_TERMINAL_STYLE_H

#include <string>
#include <string_view>

#include "terminal/screen.h"

namespace tarnctl {

// What a style is, where one is chosen.
using Style = std::string (*)(std::string_view text, const Screen &screen);

std::string bold(std::string_view text, const Screen &screen);
std::string dim(std::string_view text, const Screen &screen);
std::string red(std::string_view text, const Screen &screen);
std::string green(std::string_view text, const Screen &screen);
std::string yellow(std::string_view text, const Screen &screen);

}  // namespace tarnctl

#endif
