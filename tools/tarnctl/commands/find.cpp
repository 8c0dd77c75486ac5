// SPDX-License-Identifier: Apache-2.0
//
// tarnctl find: the records of a table that meet conditions.
#include <fmt/core.h>

#include <iostream>
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

// Documents are printed also without records.
bool is_document(Form form) { return form == Form::json || form == Form::xml || form == Form::csv; }

void run(const Options &options, Exit &status) {
    const Store store = Store::open_to_read(options.store, options.at);
    const Listing listing = make_listing(store, options.table, options.selection, options.form);
    const std::size_t found = listing.selection.records.size();
    if (found == 0) status = Exit::difference;
    if (options.count) {
        std::cout << found << '\n';
        return;
    }
    if (found > 0 || is_document(listing.form))
        print_paged([&](std::ostream &out, const Screen &screen) {
            print_listings(out, {listing}, screen);
        });
    if (found == 0)
        throw Failure(Exit::difference,
                      fmt::format("no such record in {}: {}", listing.instance.full_name(),
                                  text_of(options.selection.conditions)));
}

constexpr const char *footer = R"(
A condition compares a field with a value or with another field of the record:

  = !=       equal (== is the same), not equal
  < <= > >=  the field is less or greater
  ~ !~       its text matches a pattern, or doesn't
  =~         its text matches a pattern, with case

Numbers compare as numbers, strings by their bytes, addresses in their order,
enumerators by their numbers. A pattern is a regular expression of `grep -E`; ~
and !~ ignore case.

Conditions are joined with AND, OR, NOT and parentheses; AND binds closer than
OR. If there are several arguments, all must hold. FIELD is a path such as
aaa_authen.requests or minute[5]; with FIELD:hex=00ff the value is a string's
bytes. A word on the right is another field if it names one of the same kind, else
a value. A value in single or double quotes, which may contain blanks, is never a
field: in scripts write "sname='$name'", with each quote in the name twice.

No comparison holds for a field that the record's variant lacks. If the conditions
fix the table's key, as sname=X does, the index finds the records, and no others
are read.

The forms of the output are those of `tarnctl show`.

Examples:
  tarnctl find ldap_conn sname=ldap1.example.net --store net.store
  tarnctl find ldap_conn 'num_conns>=2 AND sname~example$' -s net.store
  tarnctl find ldap_stats 'bind_fail > bind_success' --store net.store
  tarnctl find ldap_conn 'num_conns>2' --count --store net.store)";

}  // namespace

void declare_find(cli::Command &program, Exit &status) {
    const auto options = std::make_shared<Options>();
    cli::Command &command =
        program.command("find", "Find the records of a table that meet conditions");
    command
        .argument("TABLE", cli::into(options->table), "The table, or one of several as TABLE:NAME")
        .required();
    command
        .argument("CONDITION", cli::into(options->selection.conditions), "Condition on the records")
        .required();
    add_store_option(command, options->store);
    add_at_option(command, options->at);
    command.flag("--count", options->count, "Print only their number");
    add_selection_options(command, options->selection);
    add_form_options(command, options->form);
    command.notes = footer;
    command.action = [options, &status] { run(*options, status); };
}

}  // namespace tarnctl
