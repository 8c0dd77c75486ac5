// SPDX-License-Identifier: Apache-2.0
//
// Writes the manual pages of tarnctl, tarnctl(1) and one a command, from the texts of its --help.
//   tarnctl_pages FOLDER
#include <fmt/core.h>

#include <fstream>
#include <iostream>
#include <vector>

#include "cli/help.h"
#include "pages/roff.h"
#include "program/program.h"

namespace tarnctl {
namespace {

// "\fITABLE\fP" or "[\fIKEY\fP...]".
std::string argument(const cli::Option &option) {
    const std::string name =
        fmt::format("\\fI{}\\fP{}", option.value, option.target.many ? "..." : "");
    return option.is_required ? name : fmt::format("[{}]", name);
}

std::string synopsis(const cli::Command &command) {
    std::string line = fmt::format("\\fB{}\\fP [\\fIOPTION\\fP...]", command.full_name());
    for (const cli::Option *each : command.arguments()) line += " " + argument(*each);
    return line;
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

void write_options(Page &page, const cli::Command &command) {
    for (const cli::Option *each : command.arguments())
        page.item(term_of(*each, true), cli::meaning_of(*each) + ".");
    for (const cli::Option &each : command.options) {
        if (!each.is_hidden && !each.names.empty())
            page.item(term_of(each, false), cli::meaning_of(each) + ".");
    }
}

// Notes are paragraphs with an empty line between them. One that starts with
// "Example:" or "Examples:" becomes a section of unfilled lines.
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

std::string command_page(const cli::Command &command) {
    Page page("tarnctl-" + command.name, command.summary);
    page.section("Synopsis");
    if (command.commands.empty()) page.raw(synopsis(command));
    for (const cli::Command &each : command.commands) {
        page.raw(synopsis(each));
        page.raw(".br");
    }
    page.section("Description");
    page.paragraph(command.summary + ".");
    for (const cli::Command &each : command.commands) {
        page.raw(".SS " + each.full_name());
        page.paragraph(each.summary + ".");
        write_options(page, each);
        write_notes(page, each.notes);
    }
    if (command.commands.empty()) {
        page.section("Options");
        write_options(page, command);
        page.paragraph("The options of every command are in `tarnctl(1)`.");
        page.section("Notes");
    }
    write_notes(page, command.notes);
    write_end(page, "\\fBtarnctl\\fP(1), \\fBtarnbase\\fP(7)");
    return page.text();
}

std::string program_page(const cli::Command &program) {
    Page page("tarnctl", "show, change and move what is in the stores of tarnbase");
    page.section("Synopsis");
    page.raw("\\fBtarnctl\\fP [\\fIOPTION\\fP...] \\fICOMMAND\\fP [\\fIARGUMENT\\fP...]");
    page.section("Description");
    page.paragraph(program.summary);
    page.section("Commands");
    for (const cli::Command &each : program.commands)
        page.item(fmt::format("\\fBtarnctl\\-{}\\fP(1)", each.name), each.summary + ".");
    page.section("Options");
    write_options(page, program);
    page.section("Notes");
    write_notes(page, program.notes);
    page.section("Environment");
    page.item("\\fBTARNBASE_STORE\\fP", "The store where --store isn't given.");
    page.item("\\fBNO_COLOR\\fP", "Set to anything: no colours.");
    page.item("\\fBPAGER\\fP", "The program that shows long output on a terminal.");
    page.item("\\fBCOLUMNS\\fP", "The width of the output in characters.");
    write_end(page, "\\fBtarnbase\\fP(7), \\fBtarnbase\\-wire\\fP(5), \\fBtarnbase\\-store\\fP(5)");
    return page.text();
}

void write_file(const std::string &path, const std::string &text) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text << std::flush;
    if (!file) throw Failure(Exit::store, fmt::format("{} can't be written", path));
}

void write_pages(const std::string &folder) {
    Exit status = Exit::done;
    const auto program = make_program(status);
    write_file(folder + "/tarnctl.1", program_page(*program));
    for (const cli::Command &each : program->commands)
        write_file(fmt::format("{}/tarnctl-{}.1", folder, each.name), command_page(each));
}

}  // namespace
}  // namespace tarnctl

int main(int argc, char **argv) {
    if (argc != 2) {
        std::cerr << "usage: tarnctl_pages FOLDER\n";
        return 2;
    }
    try {
        tarnctl::write_pages(argv[1]);
        return 0;
    } catch (const std::exception &error) {
        std::cerr << "tarnctl_pages: " << error.what() << '\n';
        return 4;
    }
}
