// SPDX-License-Identifier: Apache-2.0
//
// Writes the manual pages of tarnctl, tarnctl(1) and one a command, from the texts of its --help.
//   tarnctl_pages FOLDER
#include <fmt/core.h>

#include <fstream>
#include <iostream>
#include <vector>

#include "pages/roff.h"
#include "pages/sections.h"
#include "program/program.h"

namespace tarnctl {
namespace {

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
