// SPDX-License-Identifier: Apache-2.0
#include "listing/options.h"

#include <fmt/core.h>

#include <iostream>
#include <limits>
#include <map>
#include <sstream>

#include "base/failure.h"
#include "base/options.h"
#include "terminal/pager.h"

namespace tarnctl {
namespace {

const std::map<std::string, Form> &forms() {
    static const std::map<std::string, Form> words = {{"table", Form::table}, {"list", Form::list},
                                                      {"text", Form::text},   {"xml", Form::xml},
                                                      {"json", Form::json},   {"csv", Form::csv}};
    return words;
}

// Groups have no text, XML or list form.
void check_groups(const Listing &listing) {
    if (!listing.columns.empty())
        throw Failure(Exit::usage,
                      "--columns: groups have the columns of --group-by and --aggregate");
    if (listing.form == Form::list || listing.form == Form::text || listing.form == Form::xml)
        throw Failure(Exit::usage, "--format: groups are printed as table, json or csv");
}

void add_grouping_options(cli::Command &command, SelectionOptions &options) {
    command.option("--sort", "FIELD,...", cli::list_into(options.sort),
                   "Sort by these fields, with commas between them; FIELD:desc puts the largest "
                   "value first");
    command.option("--group-by", "FIELD,...", cli::list_into(options.grouping.by),
                   "Print a line for each group of records that have the same values in these "
                   "fields");
    command.option("--aggregate", "FIGURE,...", cli::list_into(options.grouping.aggregates),
                   "What to print of each group, or else of all records: count (the default), "
                   "sum(FIELD), min(FIELD), max(FIELD), with commas between them");
}

}  // namespace

void add_form_options(cli::Command &command, FormOptions &options) {
    command.option(
        "-f,--format", "FORM", cli::one_of(forms(), options.form),
        fmt::format("Form of the output: table (aligned columns), list (a field a line), text (the "
                    "records' own text form), xml, json or csv (RFC 4180); by default {}",
                    options.form == Form::list
                        ? "list"
                        : "table, or list on a terminal where rows are too wide"));
    command.flag("--json", options.json, "Print JSON, as --format json").excludes("format");
    command.option("-c,--columns", "FIELD,...", cli::list_into(options.columns),
                   "Fields to print, with commas between them: paths such as aaa_authen.requests "
                   "or minute[5], a structure for all that it holds, tenant, source and pending, "
                   "and * or all for all columns");
}

void add_selection_options(cli::Command &command, SelectionOptions &options) {
    add_grouping_options(command, options);
    add_tenant_option(command, options.tenant, "Only the records of this tenant");
    add_source_option(
        command, options.source,
        "Only the records of this source; without it, those of all sources but the shadows");
    command.flag("--shadows", options.shadows, "Print the shadows too, the records of source 255");

    command.flag("--pending", options.only_pending,
                 "Only the records that await their destruction");
    command.flag("--no-pending", options.no_pending, "None of those records").excludes("pending");
    command.option("-l,--limit", "COUNT",
                   cli::number_into(options.limit, 0, std::numeric_limits<uint64_t>::max()),
                   "At most so many records");
    command.option("--offset", "COUNT",
                   cli::number_into(options.offset, 0, std::numeric_limits<uint64_t>::max()),
                   "Leave out so many records at the beginning");
    command.flag("-r,--reverse", options.reverse, "From the last key to the first");
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

Listing make_listing(const Store &store, const std::string &table,
                     const SelectionOptions &selection, const FormOptions &form) {
    Listing listing{find_instance(store, parse_table(table)), {}, Form::automatic, {}};
    apply(form, listing);
    if (selection.grouping.wanted()) check_groups(listing);
    listing.selection = select(store, listing.instance, selection);
    return listing;
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
