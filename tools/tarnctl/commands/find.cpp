// SPDX-License-Identifier: Apache-2.0
//
// tarnctl find: the records of a table that fulfil conditions.
#include <fmt/format.h>

#include <iostream>
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
    bool count = false;
};

std::string text_of(const std::vector<std::string> &conditions) {
    std::string text;
    for (const std::string &each : conditions)
        text += fmt::format("{}`{}`", text.empty() ? "" : ", ", each);
    return text;
}

// Documents are whole even where nothing is in them.
bool is_document(Form form) { return form == Form::json || form == Form::xml || form == Form::csv; }

void run(const Options &options, Exit &status) {
    const Store store = Store::open_to_read(options.store);
    Listing listing{find_instance(store, parse_table(options.table)), {}, Form::table, {}};
    apply(options.form, listing);
    listing.selection = select(store, listing.instance, options.selection);
    const std::size_t found = listing.selection.records.size();
    if (found == 0) status = Exit::difference;
    if (options.count) {
        std::cout << found << '\n';
        return;
    }
    if (found > 0 || is_document(listing.form))
        print_paged(
            [&](std::ostream &out, const Screen &screen) { print_listing(out, listing, screen); });
    if (found == 0)
        throw Failure(Exit::difference,
                      fmt::format("no such record in {}: {}", listing.instance.full_name(),
                                  text_of(options.selection.conditions)));
}

constexpr const char *footer = R"(
A condition is FIELD=VALUE, FIELD!=VALUE, FIELD<VALUE, <=, >, >=, or FIELD~GLOB
and FIELD!~GLOB, which compare the value's text with a pattern of *, ? and
[a-z]. All must hold. Numbers are compared as numbers, strings by their bytes,
addresses in their order, enumerators by their numbers. FIELD is a path such as
aaa_authen.requests or minute[5]; FIELD:hex=00ff gives a string's bytes. Quote
conditions with <, > or * from the shell.

The forms of the output are those of `tarnctl show`.

Examples:
  tarnctl find ldap_conn sname=ldap1.example.net --store net.store
  tarnctl find ldap_conn 'num_conns>=2' 'sname~*.example' --store net.store
  tarnctl find ldap_conn 'num_conns>2' --count --store net.store)";

}  // namespace

void declare_find(cli::Command &program, Exit &status) {
    const auto options = std::make_shared<Options>();
    cli::Command &command =
        program.command("find", "Find the records of a table that fulfil conditions");
    command
        .argument("TABLE", cli::into(options->table), "The table, or one of several as TABLE:NAME")
        .required();
    command
        .argument("FIELD=VALUE", cli::into(options->selection.conditions),
                  "What must hold of a record")
        .required();
    add_store_option(command, options->store);
    command.flag("--count", options->count, "Print how many there are, and nothing else");
    add_selection_options(command, options->selection);
    add_form_options(command, options->form);
    command.notes = footer;
    command.action = [options, &status] { run(*options, status); };
}

}  // namespace tarnctl
