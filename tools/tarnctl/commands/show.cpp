// SPDX-License-Identifier: Apache-2.0
//
// tarnctl show: the records of a table.
#include <memory>

#include "commands/command.h"
#include "listing/options.h"

namespace tarnctl {
namespace {

struct Options {
    std::string store;
    std::string table;
    SelectionOptions selection;
    FormOptions form;
};

void run(const Options &options) {
    const Store store = Store::open_to_read(options.store);
    Listing listing{find_instance(store, parse_table(options.table)), {}, Form::table, {}};
    apply(options.form, listing);
    listing.selection = select(store, listing.instance, options.selection);
    print_paged(
        [&](std::ostream &out, const Screen &screen) { print_listing(out, listing, screen); });
}

constexpr const char *footer = R"(
In a pipe every value is printed whole. On a terminal a table fits its width:
columns that have no place are left out at the end, unless --columns names those
to print. The columns tenant, source and pending are there if one of the records
has another tenant than 0, another source than 1, or waits to be destroyed.

--where takes the conditions of `tarnctl find`.

XML and JSON are the documents of `tarnctl export`, in which a JSON record is
{"tenant": 0, "source": 1, "key": {...}, "fields": {...}}, with "key" on tables
with a key structure only. With --columns JSON is an array of objects that have
these columns as members.

Examples:
  tarnctl show ldap_conn --store net.store
  tarnctl show ldap_conn --where 'num_conns>2' --store net.store
  tarnctl show ldap_conn --columns sname,num_conns --json --store net.store

A table without records is no error.)";

}  // namespace

void declare_show(cli::Command &program, Exit & /*status*/) {
    const auto options = std::make_shared<Options>();
    cli::Command &command = program.command("show", "Show the records of a table in key order");
    command
        .argument("TABLE", cli::into(options->table), "The table, or one of several as TABLE:NAME")
        .required();
    add_store_option(command, options->store);
    command.option("-w,--where", "FIELD=VALUE", cli::into(options->selection.conditions),
                   "Only the records that fulfil this; can be given several times");
    add_selection_options(command, options->selection);
    add_form_options(command, options->form);
    command.notes = footer;
    command.action = [options] { run(*options); };
}

}  // namespace tarnctl
