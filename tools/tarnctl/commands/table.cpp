// SPDX-License-Identifier: Apache-2.0
//
// tarnctl table: makes, removes and lists the tables of a store.
#include <fmt/core.h>

#include <iostream>
#include <memory>

#include "base/options.h"
#include "commands/command.h"
#include "edit/editor.h"
#include "model/instance.h"
#include "model/json.h"
#include "terminal/grid.h"

namespace tarnctl {
namespace {

struct Options {
    std::string store;
    std::string table;
    double wait = usual_wait;
    bool force = false;
    bool dry_run = false;
    bool json = false;
};

Store store_of(const Options &options) {
    return options.dry_run ? Store::copy_of(options.store)
                           : Store::open_to_write(options.store, options.wait);
}

void create(const Options &options) {
    const TableReference reference = parse_table(options.table);
    const Store store = store_of(options);
    const std::size_t before = instances(store).size();
    const Instance instance = find_or_make_instance(store, reference);
    if (instances(store).size() == before)
        throw Failure(Exit::data, fmt::format("the store holds {} already", instance.full_name()));
    if (!options.dry_run) store.publish();
    std::cout << fmt::format("{}{} made\n", shown(instance.full_name(), output_screen()),
                             options.dry_run ? " would be" : "");
}

void delete_records(const Store &store, const Instance &instance) {
    Order order;
    order.verb = Verb::erase;
    order.table.table = instance.table;
    if (instance.block->open_mode == KEL_OPEN_BY_NAME) order.table.name = instance.name();
    else order.table.id = instance.block->table_id;
    order.many = true;
    Editor(store, {}).run({order});
}

void drop(const Options &options) {
    const TableReference reference = parse_table(options.table);
    const Store store = store_of(options);
    const Instance instance = find_instance(store, reference);
    const std::string name = instance.full_name();
    const uint64_t records = instance.block->record_count;
    if (records > 0 && !options.force)
        throw Failure(Exit::store, fmt::format("{} holds {} record{}; --force deletes them with it",
                                               name, records, records == 1 ? "" : "s"));
    if (records > 0) delete_records(store, instance);
    free_instance(store, instance);
    if (!options.dry_run) store.publish();
    std::cout << fmt::format("{}{} dropped", shown(name, output_screen()),
                             options.dry_run ? " would be" : "");
    if (records > 0)
        std::cout << fmt::format(", with {} record{}", records, records == 1 ? "" : "s");
    std::cout << '\n';
}

void list(const Options &options) {
    const Store store = Store::open_to_read(options.store);
    Grid grid({{"TABLE"}, {"RECORDS", true}});
    Json json = Json::array();
    for (const Instance &each : instances(store)) {
        const uint64_t records = each.block->record_count;
        grid.add({each.full_name(), std::to_string(records)});
        json.add({{"table", json_of_bytes(each.full_name())}, {"records", records}});
    }
    if (options.json) std::cout << json.dump(2) << '\n';
    else grid.print(std::cout, output_screen());
}

void declare_create(cli::Command &group) {
    const auto options = std::make_shared<Options>();
    cli::Command &command = group.command("create", "Make a table without records");
    add_store_option(command, options->store);
    command.argument("TABLE", cli::into(options->table), "Table to make, or TABLE:NAME").required();
    command.flag("-n,--dry-run", options->dry_run, "Do it in a copy of the store in memory");
    add_wait_option(command, options->wait);
    command.notes =
        "The table gets the NAME of TABLE:NAME, or else its usual name: that of the daemons\n"
        "that keep the table, ldap for the tables of tarn-ldap and dot1x for those of\n"
        "tarn-dot1x, and the table's own name without tbl_ for all others. A table that\n"
        "exists already is an error of exit status 3.\n\n"
        "Examples:\n"
        "  tarnctl table create ldap_conn --store net.store\n"
        "  tarnctl table create ldap_conn:backup --store net.store";
    command.action = [options] { create(*options); };
}

void declare_drop(cli::Command &group) {
    const auto options = std::make_shared<Options>();
    cli::Command &command = group.command("drop", "Remove a table from a store");
    add_store_option(command, options->store);
    command.argument("TABLE", cli::into(options->table), "Table to drop, or TABLE:NAME").required();
    command.flag("--force", options->force, "Delete its records with it");
    command.flag("-n,--dry-run", options->dry_run, "Do it in a copy of the store in memory");
    add_wait_option(command, options->wait);
    command.notes =
        "A table with records is refused without --force, with exit status 4. No other\n"
        "process may be using the table: its pointers to it are no longer valid.\n\n"
        "Examples:\n"
        "  tarnctl table drop ldap_conn:backup --store net.store\n"
        "  tarnctl table drop --force ldap_conn --store net.store";
    command.action = [options] { drop(*options); };
}

void declare_list(cli::Command &group) {
    const auto options = std::make_shared<Options>();
    cli::Command &command = group.command("list", "List the tables of a store");
    add_store_option(command, options->store);
    add_json_option(command, options->json);
    command.notes =
        "`tarnctl tables` lists the tables of the schema too, and counts records by source\n"
        "and by tenant.\n\n"
        "Examples:\n"
        "  tarnctl table list --store net.store\n"
        "  tarnctl table list --json --store net.store";
    command.action = [options] { list(*options); };
}

}  // namespace

void declare_table(cli::Command &program, Exit & /*status*/) {
    cli::Command &group = program.command("table", "Make, remove and list the tables of a store");
    group.notes = "Example:\n  tarnctl table create ldap_conn --store net.store";
    declare_create(group);
    declare_drop(group);
    declare_list(group);
}

}  // namespace tarnctl
