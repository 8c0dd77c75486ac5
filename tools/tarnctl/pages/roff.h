// SPDX-License-Identifier: Apache-2.0
//
// A manual page in the man macros of roff.
#ifndef TARNCTL_PAGES_ROFF_H
#define TARNCTL_PAGES_ROFF_H

#include <string>
#include <string_view>

namespace tarnctl {

// A text for roff: requests and escapes are escaped, and text between backticks is bold.
std::string roff_text(std::string_view text);

class Page {
 public:
    // A page of section 1.
    Page(std::string_view name, std::string_view one_line);

    void section(std::string_view title);
    void paragraph(std::string_view text);
    // A term and its meaning.
    void item(std::string_view term, std::string_view meaning);
    // Lines that roff doesn't fill.
    void lines(std::string_view text);
    // A line of roff.
    void raw(std::string_view line);

    const std::string &text() const { return text_; }

 private:
    std::string text_;
};

}  // namespace tarnctl

#endif
