// SPDX-License-Identifier: Apache-2.0
#include "listing/options.h"

#include <fmt/format.h>

#include <iostream>
#include <map>
#include <sstream>

#include "base/failure.h"
#include "commands/command.h"
#include "terminal/pager.h"

namespace tarnctl {
namespace {

const std::map<std::string, Form> &forms() {
    static const std::map<std::string, Form> words = {{"table", Form::table}, {"list", Form::list},
                                                      {"text", Form::text},   {"xml", Form::xml},
                                                      {"json", Form::json},   {"csv", Form::csv}};
    return words;
}

}  // namespace

void add_form_options(CLI::App &command, FormOptions &options) {
    CLI::Option *format =
        command
            .add_option_function<std::string>(
                "-f,--format",
                [&options](const std::string &word) { options.form = forms().at(word); },
                fmt::format("Form of the output: table (aligned columns), list (a field a line), "
                            "text (the records' own text form), xml, json or csv (RFC 4180); by "
                            "default {}",
                            options.form == Form::list ? "list" : "table"))
            ->check(CLI::IsMember({"table", "list", "text", "xml", "json", "csv"}))
            ->type_name("FORM");
    command.add_flag("--json", options.json, "Print JSON, as --format json")->excludes(format);
    command
        .add_option("-c,--columns", options.columns,
                    "Fields to print, with commas between them: paths such as aaa_authen.requests "
                    "or minute[5], a structure for all that it holds, and tenant, source and "
                    "pending")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->type_name("FIELD,...");
}

void add_selection_options(CLI::App &command, SelectionOptions &options) {
    add_tenant_option(
        command, [&options](uint16_t tenant) { options.tenant = tenant; },
        "Only the records of this tenant");
    add_source_option(
        command, [&options](uint8_t source) { options.source = source; },
        "Only the records of this source; without it, those of all sources but the shadows");
    command.add_flag("--shadows", options.shadows,
                     "Print the shadows too, the records of source 255");
    CLI::Option *pending =
        command.add_flag("--pending", options.only_pending,
                         "Only the records that wait to be destroyed until nobody holds them");
    command.add_flag("--no-pending", options.no_pending, "None of those records")
        ->excludes(pending);
    command.add_option("-n,--limit", options.limit, "At most so many records")
        ->check(CLI::NonNegativeNumber.description(""))
        ->type_name("COUNT");
    command.add_option("--offset", options.offset, "Leave out so many records in front")
        ->check(CLI::NonNegativeNumber.description(""))
        ->type_name("COUNT");
    command.add_flag("-r,--reverse", options.reverse, "From the last key to the first");
}

void apply(const FormOptions &options, Listing &listing) {
    listing.form = options.json ? Form::json : options.form;
    listing.columns = named_columns(*listing.instance.table, options.columns);
    const bool whole_records = listing.form == Form::text || listing.form == Form::xml;
    if (whole_records && !listing.columns.empty())
        throw Failure(Exit::usage,
                      "--columns: the text and XML forms are those of whole records; choose table, "
                      "list, json or csv");
}

void print_paged(const std::function<void(std::ostream &, const Screen &)> &print) {
    const Screen &screen = output_screen();
    if (!screen.is_terminal) return print(std::cout, screen);
    std::ostringstream output;
    print(output, screen);
    const Pager pager;
    std::cout << output.str();
}

}  // namespace tarnctl
