// SPDX-License-Identifier: Apache-2.0
//
// Writes the manual pages of tarnctl, tarnctl(1) and one a command, from the texts of its --help.
//   tarnctl_pages FOLDER
#include <fmt/format.h>

#include <fstream>
#include <iostream>
#include <vector>

#include "pages/roff.h"
#include "program.h"

namespace tarnctl {
namespace {

std::vector<CLI::App *> commands_of(CLI::App &app) {
    std::vector<CLI::App *> shown;
    for (CLI::App *each : app.get_subcommands([](CLI::App *) { return true; })) {
        if (!each->get_group().empty()) shown.push_back(each);
    }
    return shown;
}

std::vector<const CLI::Option *> options_of(const CLI::App &app, bool positional) {
    std::vector<const CLI::Option *> shown;
    for (const CLI::Option *each : app.get_options()) {
        if (each->get_positional() == positional && !each->get_group().empty())
            shown.push_back(each);
    }
    return shown;
}

// "\fITABLE\fP" or "[\fIKEY\fP...]".
std::string argument(const CLI::Option &option) {
    const bool several = option.get_expected_max() > 1;
    const std::string name =
        fmt::format("\\fI{}\\fP{}", option.get_type_name(), several ? "..." : "");
    return option.get_required() ? name : fmt::format("[{}]", name);
}

std::string synopsis(const CLI::App &app, const std::string &name) {
    std::string line = fmt::format("\\fB{}\\fP", name);
    if (!options_of(app, false).empty()) line += " [\\fIOPTION\\fP...]";
    for (const CLI::Option *each : options_of(app, true)) line += " " + argument(*each);
    return line;
}

// "\fB-s\fP, \fB--store\fP \fIFILE\fP".
std::string term_of(const CLI::Option &option) {
    if (option.get_positional()) return fmt::format("\\fI{}\\fP", option.get_type_name());
    std::string term;
    const auto add = [&](const char *dashes, const std::string &name) {
        term += fmt::format("{}\\fB{}{}\\fP", term.empty() ? "" : ", ", dashes, name);
    };
    for (const std::string &name : option.get_snames()) add("\\-", name);
    for (const std::string &name : option.get_lnames()) {
        std::string escaped;
        for (const char c : name) escaped += c == '-' ? "\\-" : std::string(1, c);
        add("\\-\\-", escaped);
    }
    if (option.get_type_size_max() > 0 && !option.get_type_name().empty())
        term += fmt::format(" \\fI{}\\fP", option.get_type_name());
    return term;
}

std::string meaning_of(const CLI::Option &option) {
    std::string meaning = option.get_description() + ".";
    if (!option.get_envname().empty())
        meaning += fmt::format(" By default the environment's `{}`.", option.get_envname());
    return meaning;
}

void write_options(Page &page, const CLI::App &app) {
    for (const bool positional : {true, false}) {
        for (const CLI::Option *each : options_of(app, positional))
            page.item(term_of(*each), meaning_of(*each));
    }
}

// What a footer is made of: paragraphs with an empty line between them. One that starts with
// "Example:" or "Examples:" goes into a section of its own, its lines as they stand.
void write_footer(Page &page, const std::string &footer) {
    std::string examples;
    for (std::size_t at = 0; at < footer.size();) {
        const std::size_t end = std::min(footer.find("\n\n", at), footer.size());
        std::string paragraph = footer.substr(at, end - at);
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
    page.item("0", "Done.");
    page.item("1", "Nothing was found, or there is a difference.");
    page.item("2", "The arguments are wrong.");
    page.item("3", "Data can't be read as what it should be.");
    page.item("4", "A store or a file can't be used.");
    page.section("See also");
    page.raw(see_also);
}

std::string command_page(CLI::App &command) {
    const std::string name = "tarnctl-" + command.get_name();
    Page page(name, command.get_description());
    const std::string called = "tarnctl " + command.get_name();
    page.section("Synopsis");
    const std::vector<CLI::App *> inner = commands_of(command);
    if (inner.empty()) page.raw(synopsis(command, called));
    for (const CLI::App *each : inner) {
        page.raw(synopsis(*each, called + " " + each->get_name()));
        page.raw(".br");
    }
    page.section("Description");
    page.paragraph(command.get_description() + ".");
    for (CLI::App *each : inner) {
        page.raw(fmt::format(".SS {} {}", called, each->get_name()));
        page.paragraph(each->get_description() + ".");
        write_options(page, *each);
        write_footer(page, each->get_footer());
    }
    if (inner.empty()) {
        page.section("Options");
        write_options(page, command);
        page.section("Notes");
    }
    write_footer(page, command.get_footer());
    write_end(page, "\\fBtarnctl\\fP(1), \\fBtarnbase\\fP(7)");
    return page.text();
}

std::string program_page(CLI::App &program) {
    Page page("tarnctl", "show, change and move what is in the stores of tarnbase");
    page.section("Synopsis");
    page.raw("\\fBtarnctl\\fP [\\fIOPTION\\fP...] \\fICOMMAND\\fP [\\fIARGUMENT\\fP...]");
    page.section("Description");
    page.paragraph(program.get_description());
    page.section("Commands");
    for (const CLI::App *each : commands_of(program))
        page.item(fmt::format("\\fBtarnctl\\-{}\\fP(1)", each->get_name()),
                  each->get_description() + ".");
    page.section("Options");
    write_options(page, program);
    page.section("Notes");
    write_footer(page, program.get_footer());
    page.section("Environment");
    page.item("\\fBTARNBASE_STORE\\fP", "The store file where --store isn't given.");
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
    for (CLI::App *each : commands_of(*program))
        write_file(fmt::format("{}/tarnctl-{}.1", folder, each->get_name()), command_page(*each));
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
