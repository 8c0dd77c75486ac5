// SPDX-License-Identifier: Apache-2.0
// Templates, which the build embeds, and the layout of their output.
#ifndef TARNC_RENDER_H
#define TARNC_RENDER_H

#include <kainjow/mustache.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace tarnc {

using Context = kainjow::mustache::data;

// The text of templates/<name>; the build makes it.
std::string_view template_text(std::string_view name);

std::string render(std::string_view template_name, const Context &context);

// `head`, the pieces one after the other, and `tail`, on lines of at most 100
// characters, or `limit`; later lines start with `indent` blanks. Pieces stay whole.
std::string fill(const std::string &head, const std::vector<std::string> &pieces,
                 const std::string &tail, std::size_t indent, std::size_t limit = 100);

// A statement of one call, indented; a line ends after a comma and the next one
// starts below the innermost open bracket. A list in braces stays on a line if it fits.
std::string fill_call(const std::string &call, std::size_t indent);

// A function's head: its arguments lined up after the bracket if they fit.
std::string prototype(const std::string &head, const std::vector<std::string> &arguments,
                      const std::string &tail);

// A comment of one or more paragraphs, in the manner of C.
std::string comment(const std::vector<std::string> &paragraphs);

// Splits at each `separator` outside brackets, and trims the pieces.
std::vector<std::string> split(const std::string &text, char separator);

std::string trim(const std::string &text);

}  // namespace tarnc

#endif
