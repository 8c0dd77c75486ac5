// SPDX-License-Identifier: Apache-2.0
#include "pages/sections.h"

#include <fmt/core.h>

#include <algorithm>

#include "base/failure.h"
#include "cli/help.h"

namespace tarnctl {
namespace {

// "\fITABLE\fP" or "[\fIKEY\fP...]".
std::string argument(const cli::Option &option) {
    const std::string name =
        fmt::format("\\fI{}\\fP{}", option.value, option.target.many ? "..." : "");
    return option.is_required ? name : fmt::format("[{}]", name);
}

// "\fB-s\fP, \fB--store\fP \fIFILE\fP".
std::string term_of(const cli::Option &option, bool by_place) {
    if (by_place) return fmt::format("\\fI{}\\fP", option.value);
    std::string term;
    const auto add = [&](const char *dashes, const std::string &name) {
        term += fmt::format("{}\\fB{}{}\\fP", term.empty() ? "" : ", ", dashes, name);
    };
    if (option.letter != 0) add("\\-", std::string(1, option.letter));
    for (const std::string &name : option.names) {
        std::string escaped;
        for (const char c : name) escaped += c == '-' ? "\\-" : std::string(1, c);
        add("\\-\\-", escaped);
    }
    if (!option.is_flag()) term += fmt::format(" \\fI{}\\fP", option.value);
    return term;
}

}  // namespace

std::string synopsis(const cli::Command &command) {
    std::string line = fmt::format("\\fB{}\\fP [\\fIOPTION\\fP...]", command.full_name());
    for (const cli::Option *each : command.arguments()) line += " " + argument(*each);
    return line;
}

void write_options(Page &page, const cli::Command &command) {
    for (const cli::Option *each : command.arguments())
        page.item(term_of(*each, true), cli::meaning_of(*each) + ".");
    for (const cli::Option &each : command.options) {
        if (!each.is_hidden && !each.names.empty())
            page.item(term_of(each, false), cli::meaning_of(each) + ".");
    }
}

void write_notes(Page &page, const std::string &notes) {
    std::string examples;
    for (std::size_t at = 0; at < notes.size();) {
        const std::size_t end = std::min(notes.find("\n\n", at), notes.size());
        std::string paragraph = notes.substr(at, end - at);
        at = end + 2;
        paragraph.erase(0, std::min(paragraph.find_first_not_of('\n'), paragraph.size()));
        if (paragraph.starts_with("Example")) {
            const std::size_t next = paragraph.find('\n');
            examples += next == std::string::npos ? "" : paragraph.substr(next + 1) + "\n";
        } else if (!examples.empty() && paragraph.starts_with("  ")) {
            examples += "\n" + paragraph + "\n";
        } else if (!paragraph.empty()) {
            page.paragraph(paragraph);
        }
    }
    if (examples.empty()) return;
    page.section("Examples");
    page.lines(examples);
}

void write_end(Page &page, const std::string &see_also) {
    page.section("Exit status");
    for (const cli::Status &each : exit_statuses())
        page.item(std::to_string(each.number), each.meaning + ".");
    page.section("See also");
    page.raw(see_also);
}

}  // namespace tarnctl
