// SPDX-License-Identifier: Apache-2.0
//
// The text of --help.
#ifndef TOOLS_CLI_HELP_H
#define TOOLS_CLI_HELP_H

#include <cstddef>
#include <string>
#include <string_view>

#include "cli/command.h"

namespace cli {

// In lines of at most `width` characters, except for longer words and lines that are kept.
std::string help_of(const Command &command, std::size_t width);

// The columns of the screen: COLUMNS, or else those of the terminal, or else 80.
std::size_t screen_width();

// "[OPTION...] TABLE [KEY...]", for after the command's name.
std::string arguments_text(const Command &command);
// The meaning, with the variable of the environment.
std::string meaning_of(const Option &option);

// `text` in lines of at most `width` characters, broken at blanks. The first one follows `head`,
// padded to `indent` characters; the others are indented by as many.
std::string wrapped(std::string_view head, std::string_view text, std::size_t indent,
                    std::size_t width);
// Paragraphs of notes.
std::string filled(std::string_view notes, std::size_t width);

}  // namespace cli

#endif
