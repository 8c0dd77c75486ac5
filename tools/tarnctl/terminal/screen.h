// SPDX-License-Identifier: Apache-2.0
//
// What standard output can show: its width, its colours, its characters.
#ifndef TARNCTL_TERMINAL_SCREEN_H
#define TARNCTL_TERMINAL_SCREEN_H

#include <cstddef>
#include <string>
#include <string_view>

namespace tarnctl {

struct Screen {
    bool is_terminal = false;
    std::size_t width = 0;  // in cells; 0 where nothing limits it
    bool colour = false;
    bool utf8 = false;
};

enum class Colours { automatic, always, never };

// What the options of the program say about the output.
struct ScreenSettings {
    Colours colours = Colours::automatic;
    bool pager = true;
};
ScreenSettings &screen_settings();

// Standard output as it was found when this was first called: a terminal with its width (or that
// of COLUMNS, which counts in a pipe too), in colour unless NO_COLOR, TERM=dumb or the program's
// --color says otherwise, and with the character set of the locale.
const Screen &output_screen();

// The text made safe to print: control characters and bytes that are no UTF-8 as \x0a, and without
// UTF-8 all other characters beyond ASCII as \u{e9}. A backslash stays as it is.
std::string shown(std::string_view text, const Screen &screen);
// The same, but the text keeps its ends of lines.
std::string shown_lines(std::string_view text, const Screen &screen);

// The cells of the screen that a text which is safe to print takes.
std::size_t width_of(std::string_view text);

// The beginning of the text that takes `width` cells at most, with "…" in the place of what was
// cut off ("..." without UTF-8).
std::string cut(std::string_view text, std::size_t width, const Screen &screen);

}  // namespace tarnctl

#endif
