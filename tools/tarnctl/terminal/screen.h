// SPDX-License-Identifier: Apache-2.0
//
// The abilities of standard output: width, colours, characters.
#ifndef TARNCTL_TERMINAL_SCREEN_H
#define TARNCTL_TERMINAL_SCREEN_H

#include <cstddef>
#include <string>
#include <string_view>

namespace tarnctl {

struct Screen {
    bool is_terminal = false;
    std::size_t width = 0;  // in cells; 0: unlimited
    bool colour = false;
    bool utf8 = false;
};

enum class Colours { automatic, always, never };

// The options of the program for its output.
struct ScreenSettings {
    Colours colours = Colours::automatic;
    bool pager = true;
};
ScreenSettings &screen_settings();

// Standard output, examined at the first call: whether it is a terminal, its width (or that of
// COLUMNS, also in a pipe), colour unless NO_COLOR, TERM=dumb or --color turns it off, and the
// character set of the locale.
const Screen &output_screen();

// The text made safe to print: control characters and bytes that aren't UTF-8 as \x0a, and on a
// screen without UTF-8 characters beyond ASCII as \u{e9}. A backslash stays as it is.
std::string shown(std::string_view text, const Screen &screen);
// The same, but line ends stay.
std::string shown_lines(std::string_view text, const Screen &screen);

// The width in cells of a text that is safe to print.
std::size_t width_of(std::string_view text);

// The text cut to at most `width` cells, with "…" ("..." without UTF-8) at the cut.
std::string cut(std::string_view text, std::size_t width, const Screen &screen);

}  // namespace tarnctl

#endif
