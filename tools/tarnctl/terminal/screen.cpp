// SPDX-License-Identifier: Apache-2.0
#include "terminal/screen.h"

#include <fmt/core.h>
#include <langinfo.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <wchar.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>

#include "cli/utf8.h"

namespace tarnctl {
namespace {

constexpr std::size_t usual_width = 80;

std::string_view environment(const char *name) {
    const char *value = std::getenv(name);
    return value == nullptr ? "" : value;
}

// 0 if the text isn't a number.
std::size_t number_in(std::string_view text) {
    std::size_t number = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && stop == text.data() + text.size() ? number : 0;
}

std::size_t width_of_output(bool is_terminal) {
    if (const std::size_t columns = number_in(environment("COLUMNS"))) return columns;
    if (!is_terminal) return 0;
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    return usual_width;
}

bool has_colour(bool is_terminal) {
    if (screen_settings().colours != Colours::automatic)
        return screen_settings().colours == Colours::always;
    const std::string_view kind = environment("TERM");
    return is_terminal && environment("NO_COLOR").empty() && !kind.empty() && kind != "dumb";
}

Screen found_screen() {
    Screen screen;
    screen.is_terminal = isatty(STDOUT_FILENO) == 1;
    screen.width = width_of_output(screen.is_terminal);
    screen.colour = has_colour(screen.is_terminal);
    screen.utf8 = std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
    return screen;
}

// Characters that change the direction of text could make it look like another.
bool turns_direction(char32_t code) {
    return (code >= 0x202a && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069);
}

bool is_printable(char32_t code) {
    return wcwidth(static_cast<wchar_t>(code)) >= 0 && !turns_direction(code);
}

void add_shown(std::string &result, std::string_view bytes, const cli::Utf8Character &character,
               const Screen &screen) {
    const bool ascii = character.code < 0x80;
    if (cli::needs_escape(character)) result += cli::escaped_byte(character.code);
    else if (ascii || (screen.utf8 && is_printable(character.code))) result += bytes;
    else result += fmt::format("\\u{{{:x}}}", static_cast<unsigned>(character.code));
}

std::size_t cells_of(const cli::Utf8Character &character) {
    const int cells = wcwidth(static_cast<wchar_t>(character.code));
    return cells < 0 ? 1 : static_cast<std::size_t>(cells);
}

}  // namespace

ScreenSettings &screen_settings() {
    static ScreenSettings settings;
    return settings;
}

const Screen &output_screen() {
    static const Screen screen = found_screen();
    return screen;
}

std::string shown(std::string_view text, const Screen &screen) {
    std::string result;
    while (!text.empty()) {
        const cli::Utf8Character character = cli::first_utf8(text);
        add_shown(result, text.substr(0, character.length), character, screen);
        text.remove_prefix(character.length);
    }
    return result;
}

std::string shown_lines(std::string_view text, const Screen &screen) {
    std::string result;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        if (line.ends_with('\r')) line.remove_suffix(1);
        result += shown(line, screen);
        if (end < text.size()) result += '\n';
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return result;
}

std::size_t width_of(std::string_view text) {
    std::size_t width = 0;
    while (!text.empty()) {
        const cli::Utf8Character character = cli::first_utf8(text);
        width += cells_of(character);
        text.remove_prefix(character.length);
    }
    return width;
}

std::string cut(std::string_view text, std::size_t width, const Screen &screen) {
    if (width_of(text) <= width) return std::string(text);
    const std::string_view dots = std::string_view(screen.utf8 ? "…" : "...");
    const std::size_t dots_width = screen.utf8 ? 1 : 3;
    // Too narrow even for the dots: as many of them as fit.
    if (width < dots_width) return std::string(width, '.');
    std::size_t used = dots_width;
    std::size_t length = 0;
    while (length < text.size()) {
        const cli::Utf8Character character = cli::first_utf8(text.substr(length));
        if (used + cells_of(character) > width) break;
        used += cells_of(character);
        length += character.length;
    }
    return std::string(text.substr(0, length)) + std::string(dots);
}

}  // namespace tarnctl
