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

// In lines of at most `width` characters, except where a word or a line that is kept as it is has
// more.
std::string help_of(const Command &command, std::size_t width);

// The columns of the screen: COLUMNS, or else those of the terminal, or else 80.
std::size_t screen_width();

// "[OPTION...] TABLE [KEY...]", what follows the command's name.
std::string arguments_text(const Command &command);
// The meaning, and what else there is to know: the words taken, the variable of the environment.
std::string meaning_of(const Option &option);

// `text` in lines of at most `width` characters that are broken at blanks. The first one is
// written after `head`, which `indent` characters are kept for; the others are indented by as many.
std::string wrapped(std::string_view head, std::string_view text, std::size_t indent,
                    std::size_t width);
// Paragraphs of notes.
std::string filled(std::string_view notes, std::size_t width);

}  // namespace cli

#endif
