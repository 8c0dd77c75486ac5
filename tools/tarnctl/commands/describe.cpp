// SPDX-License-Identifier: Apache-2.0
//
// tarnctl describe: a table or a type in detail.
#include "describe/describe.h"

#include <fmt/core.h>

#include <iostream>
#include <memory>
#include <variant>

#include "base/options.h"
#include "commands/command.h"
#include "model/instance.h"
#include "terminal/pager.h"

namespace tarnctl {
namespace {

struct Options {
    std::string name;
    bool json = false;
};

using Item = std::variant<const Table *, const Structure *, const Enumeration *, const ValueType *>;

Item item_named(const std::string &name) {
    if (const Table *table = catalogue.table(name)) return table;
    if (const Structure *structure = catalogue.structure(name)) return structure;
    if (const Enumeration *enumeration = catalogue.enumeration(name)) return enumeration;
    if (const ValueType *type = value_type(name)) return type;
    if (const Table *table = catalogue.table(std::string(table_prefix) + name)) return table;
    std::vector<std::string_view> names;
    for (const Table *each : catalogue.tables)
        names.insert(names.end(), {each->name, each->name.substr(table_prefix.size())});
    for (const Structure *each : catalogue.structures) names.push_back(each->name);
    for (const Enumeration *each : catalogue.enumerations) names.push_back(each->name);
    for (const ValueType &each : value_types()) names.push_back(each.name);
    throw no_such(Exit::usage, "table or type", name, names);
}

void run(const Options &options) {
    std::visit(
        [&](const auto *item) {
            if (options.json) {
                std::cout << described(*item).dump(2) << '\n';
                return;
            }
            const Screen &screen = output_screen();
            const Pager pager;
            describe(std::cout, screen, *item);
        },
        item_named(options.name));
}

constexpr const char *footer = R"(
WIRE is the size of a field on the wire, in bytes; + if a string or an address adds
to it. KEY is a field's position in the key, FROM the first variant with the field,
USED the memory that an object of a variant uses, and SLOP the memory allocated
beyond that. A unit is shown if the schema fixes one; otherwise the program that
fills the table chooses it.

Examples:
  tarnctl describe tbl_ldap_conn
  tarnctl describe --json st_aaa_servers)";

}  // namespace

void declare_describe(cli::Command &program, Exit & /*status*/) {
    const auto options = std::make_shared<Options>();
    cli::Command &command =
        program.command("describe", "Describe a table, a type, an enumeration or a value");
    command
        .argument("TABLE|TYPE", cli::into(options->name),
                  "A table, with or without tbl_, or a type of the schema or of its fields")
        .required();
    add_json_option(command, options->json);
    command.notes = footer;
    command.action = [options] { run(*options); };
}

}  // namespace tarnctl
