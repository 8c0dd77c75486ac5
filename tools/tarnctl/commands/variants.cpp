// SPDX-License-Identifier: Apache-2.0
//
// tarnctl variants: the usage counters of types, tables and records, by variant.
#include <fmt/core.h>

#include <iostream>
#include <memory>

#include "base/options.h"
#include "commands/command.h"
#include "model/json.h"
#include "terminal/grid.h"
#include "terminal/pager.h"
#include "usage/usage.h"

namespace tarnctl {
namespace {

struct Options {
    std::string store;
    bool all = false;
    bool json = false;
};

struct Report {
    const char *source;  // whose descriptors these are: "store" or "library"
    std::vector<Usage> usages;
    std::size_t unknown = 0;
};

Report report_of(const Options &options) {
    Report report{"library", {}, 0};
    if (!options.store.empty()) {
        const Store store = Store::open_to_read(options.store);
        report.usages = usage_of(store, report.unknown);
    }
    if (report.usages.empty()) report.usages = usage_of_library();
    else report.source = "store";
    if (!options.all)
        std::erase_if(report.usages, [](const Usage &each) { return !each.is_used(); });
    return report;
}

void print_json(const Report &report) {
    Json variants = Json::array();
    for (const auto &[name, kind, variant] : report.usages)
        variants.add({{"name", name},
                      {"kind", kind},
                      {"variant", variant.variant},
                      {"used_length", variant.used_length},
                      {"slop", variant.alloc_slop},
                      {"created", variant.created},
                      {"destroyed", variant.destroyed},
                      {"live", variant.live}});
    const Json json{{"descriptors", report.source},
                    {"unknown", report.unknown},
                    {"variants", std::move(variants)}};
    std::cout << json.dump(2) << '\n';
}

void print_text(const Report &report, bool with_store) {
    const Screen &screen = output_screen();
    Grid grid({{"NAME"},
               {"VARIANT", true},
               {"CREATED", true},
               {"DESTROYED", true},
               {"LIVE", true},
               {"USED", true},
               {"SLOP", true},
               {"KIND"}});
    for (const auto &[name, kind, variant] : report.usages)
        grid.add({std::string(name), std::to_string(variant.variant),
                  std::to_string(variant.created), std::to_string(variant.destroyed),
                  std::to_string(variant.live), std::to_string(variant.used_length),
                  std::to_string(variant.alloc_slop), std::string(kind)});
    const Pager pager;
    const bool is_library = std::string_view(report.source) == "library";
    if (with_store && is_library)
        std::cout << "The store has no descriptors; these are the library's, in this process.\n";
    if (report.unknown > 0)
        std::cout << fmt::format("The store has {} more descriptors, unknown to this program.\n",
                                 report.unknown);
    if (grid.rows() == 0) std::cout << "Nothing is in use; --all shows every variant.\n";
    else grid.print(std::cout, screen);
}

constexpr const char *footer = R"(
A store that several builds of a schema use has descriptors of its own, with
counters of everything that was ever made in it. If it has none, or without a
store, the descriptors are the library's in this process: they have the lengths,
but don't count objects of other processes.

USED is the memory that an object of the variant uses, SLOP the memory allocated
beyond that.

Examples:
  tarnctl variants --store net.store
  tarnctl variants --all --json)";

}  // namespace

void declare_variants(cli::Command &program, Exit & /*status*/) {
    const auto options = std::make_shared<Options>();
    cli::Command &command =
        program.command("variants", "Show how many objects of each variant there are");
    add_optional_store_option(command, options->store);
    command.flag("-a,--all", options->all, "Also show variants that were never used");
    add_json_option(command, options->json);
    command.notes = footer;
    command.action = [options] {
        const Report report = report_of(*options);
        if (options->json) print_json(report);
        else print_text(report, !options->store.empty());
    };
}

}  // namespace tarnctl
