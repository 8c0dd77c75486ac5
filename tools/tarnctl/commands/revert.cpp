// SPDX-License-Identifier: Apache-2.0
//
// tarnctl revert: takes a transaction back.
#include <fmt/core.h>

#include <iostream>
#include <limits>
#include <memory>

#include "base/options.h"
#include "commands/command.h"
#include "revert/plan.h"
#include "revert/reversal.h"

namespace tarnctl {
namespace {

struct Options {
    std::string store;
    uint64_t number = 0;
    double wait = usual_wait;
    bool dry_run = false;
    bool json = false;
};

Failure refusal(const Options &options, const std::vector<std::string> &conflicts) {
    std::string text = fmt::format("transaction {} can't be reverted:", options.number);
    for (const std::string &each : conflicts)
        text += fmt::format("\n  {}", shown(each, output_screen()));
    return Failure(Exit::difference, text);
}

void refuse(const Options &options, const std::vector<std::string> &conflicts) {
    if (conflicts.empty()) return;
    if (options.json)
        std::cout << Json({{"dry_run", options.dry_run},
                           {"changes", Json::array()},
                           {"conflicts", Json(conflicts)}})
                         .dump(2)
                  << '\n';
    throw refusal(options, conflicts);
}

void run(const Options &options) {
    const Plan plan = make_plan(options.store, options.number);
    if (plan.undos.empty())
        throw Failure(Exit::difference,
                      fmt::format("transaction {} changed no record", options.number));
    refuse(options, plan.conflicts);
    const Store store = options.dry_run ? Store::copy_of(options.store)
                                        : Store::open_to_write(options.store, options.wait);
    Reversal reversal(plan, store);
    refuse(options, reversal.conflicts());
    // Printed after the commit.
    std::string text;
    Json changes = Json::array();
    reversal.run([&](const Change &change) {
        if (options.json) changes.add(json_of(change));
        else text += text_of(change, output_screen());
    });
    if (options.json)
        std::cout << Json({{"dry_run", options.dry_run},
                           {"changes", std::move(changes)},
                           {"conflicts", Json::array()}})
                         .dump(2)
                  << '\n';
    else std::cout << text;
}

constexpr const char *footer = R"(
A new transaction takes back what one of the past has changed: fields get the values
that they had, deleted records come back with all of their fields, and inserted ones
are deleted. Other fields, and other records, stay as they are. It is done completely
or not at all, and has the label "revert of transaction NUMBER"; it can be reverted
too.

If a later transaction has changed one of these fields, even if it was changed back,
or deleted or inserted one of these records, the command does nothing, prints a line
for each conflict and exits with 1.

`tarnctl log` lists the transactions. They must be kept from this one on: see `tarnctl
journal start`.

--json prints {"dry_run", "changes": [...], "conflicts": [...]}, with changes as of
set --json.

Examples:
  tarnctl revert 4711 --dry-run --store net.store
  tarnctl revert 4711 --store net.store)";

}  // namespace

void declare_revert(cli::Command &program, Exit & /*status*/) {
    const auto options = std::make_shared<Options>();
    cli::Command &command = program.command("revert", "Take a transaction back");
    command
        .argument("NUMBER",
                  cli::number_into(options->number, 1, std::numeric_limits<uint64_t>::max() - 2),
                  "The transaction's number")
        .required();
    add_store_option(command, options->store);
    command.flag("-n,--dry-run", options->dry_run,
                 "Show what would change; the store stays as it is");
    add_wait_option(command, options->wait);
    add_json_option(command, options->json);
    command.notes = footer;
    command.action = [options] { run(*options); };
}

}  // namespace tarnctl
