// SPDX-License-Identifier: Apache-2.0
//
// tarnctl show: the records of a table.
#include <memory>
#include <optional>

#include "base/options.h"
#include "commands/command.h"
#include "listing/options.h"

namespace tarnctl {
namespace {

struct Options {
    std::string store;
    std::optional<Moment> at;
    std::vector<std::string> tables;
    SelectionOptions selection;
    FormOptions form;
};

void run(const Options &options) {
    const Store store = Store::open_to_read(options.store, options.at);
    std::vector<Listing> listings;
    for (const std::string &table : options.tables)
        listings.push_back(make_listing(store, table, options.selection, options.form));
    if (listings.size() > 1 && listings.front().form == Form::csv)
        throw Failure(Exit::usage, "CSV holds one table; choose json for several");
    print_paged(
        [&](std::ostream &out, const Screen &screen) { print_listings(out, listings, screen); });
}

constexpr const char *footer = R"(
In a pipe all columns and values are printed in full. On a terminal a table fits
its width: columns that don't fit are hidden, first those that are 0 or empty in
all records, and the last line has their number. If the key and two columns don't
fit, or columns of --columns don't, each record is a list. The columns tenant,
source and pending are shown if a record has another tenant than 0, another
source than 1, or awaits its destruction.

--where has the conditions of `tarnctl find`.

--sort puts records whose variant lacks the field first. With --group-by or
--aggregate it sorts by the printed columns, such as count:desc, and --limit
counts groups.

Several tables are printed one after the other, with their names. XML and JSON
are the documents of `tarnctl export`, in which a JSON record is
{"tenant": 0, "source": 1, "key": {...}, "fields": {...}}, with "key" only on
tables with a key structure. With --columns or groups JSON is an array of objects
with the columns as members, and "table" if there are several tables.

Examples:
  tarnctl show ldap_conn --where 'num_conns>2 OR sname~^ldap' --store net.store
  tarnctl show ldap_conn --columns sname,num_conns --json --store net.store
  tarnctl show aaa_servers --sort aaa_authen.requests:desc -l 5 -s net.store
  tarnctl show aaa_servers --group-by status --aggregate count,sum(dead_count)
  tarnctl show ldap_conn ldap_stats --store net.store
  tarnctl show ldap_conn --at 10:30 --store net.store

An empty table is no error.)";

}  // namespace

void declare_show(cli::Command &program, Exit & /*status*/) {
    const auto options = std::make_shared<Options>();
    cli::Command &command = program.command("show", "Show the records of tables");
    command
        .argument("TABLE", cli::into(options->tables),
                  "The tables, or one of several as TABLE:NAME")
        .required();
    add_store_option(command, options->store);
    add_at_option(command, options->at);
    command.option("-w,--where", "CONDITION", cli::into(options->selection.conditions),
                   "Only the records that meet this, such as FIELD=VALUE; may be repeated, and all "
                   "must hold");
    add_selection_options(command, options->selection);
    add_form_options(command, options->form);
    command.notes = footer;
    command.action = [options] { run(*options); };
}

}  // namespace tarnctl
