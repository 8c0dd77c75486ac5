// SPDX-License-Identifier: Apache-2.0
//
// tarnctl tables: the tables of the schema, and which of them a store holds.
#include <fmt/format.h>

#include <iostream>
#include <memory>

#include "commands/command.h"
#include "model/instance.h"

namespace tarnctl {
namespace {

struct Options {
    std::string store;
};

void run(const Options &options) {
    const Store store = Store::open_to_read(options.store);
    for (const Instance &instance : instances(store))
        std::cout << fmt::format("{} {}\n", instance.full_name(), instance.block->record_count);
}

}  // namespace

void declare_tables(CLI::App &program, Exit & /*status*/) {
    const auto options = std::make_shared<Options>();
    CLI::App *command = program.add_subcommand("tables", "List the tables and what they hold");
    add_store_option(*command, options->store);
    command->footer("Example:\n  tarnctl tables --store net.store");
    command->callback([options] { run(*options); });
}

}  // namespace tarnctl
