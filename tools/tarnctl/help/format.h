// SPDX-License-Identifier: Apache-2.0
//
// The form of --help: fits 80 columns, names arguments by what they are.
#ifndef TARNCTL_HELP_FORMAT_H
#define TARNCTL_HELP_FORMAT_H

#include <CLI/CLI.hpp>
#include <string>
#include <string_view>

namespace tarnctl {

class HelpFormat : public CLI::Formatter {
 public:
    std::string make_usage(const CLI::App *app, std::string name) const override;
    std::string make_option(const CLI::Option *option, bool is_positional) const override;
    std::string make_subcommand(const CLI::App *command) const override;
};

// `text` in lines of at most `width` characters that are broken at blanks. The first one stands
// behind `head`, which `indent` characters are kept for; the others are indented by as many.
std::string wrapped(std::string_view head, std::string_view text, std::size_t indent,
                    std::size_t width);

}  // namespace tarnctl

#endif
