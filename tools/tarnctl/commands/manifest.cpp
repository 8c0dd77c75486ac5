// SPDX-License-Identifier: Apache-2.0
//
// tarnctl manifest: the schema of a library file, compared with this program's.
#include "library/manifest.h"

#include <fmt/core.h>

#include <algorithm>
#include <iostream>
#include <memory>

#include "base/options.h"
#include "base/schema.h"
#include "commands/command.h"
#include "model/json.h"
#include "terminal/grid.h"
#include "terminal/pager.h"

namespace tarnctl {
namespace {

struct Options {
    std::string path;
    bool changes = false;
    bool json = false;
};

std::size_t count_differences(const std::vector<Comparison> &items) {
    return static_cast<std::size_t>(
        std::count_if(items.begin(), items.end(),
                      [](const Comparison &each) { return !each.difference.empty(); }));
}

void print_json(const Options &options, const Manifest &manifest,
                const std::vector<Comparison> &items) {
    Json list = Json::array();
    for (const auto &[item, name, difference] : items) {
        if (options.changes && difference.empty()) continue;
        list.add({{"name", name.empty() ? Json() : Json(name)},
                  {"kind", kind_name(item.kind)},
                  {"luid", item.luid},
                  {"digest", item.digest},
                  {"highest_variant", item.variant},
                  {"size", item.size},
                  {"difference", difference.empty() ? Json() : Json(difference)}});
    }
    Json build = Json::array();
    for (const std::string &line : manifest.build) build.add(json_of_bytes(line));
    const Json json{{"file", json_of_bytes(options.path)},
                    {"module", json_of_bytes(manifest.module)},
                    {"build", std::move(build)},
                    {"differences", count_differences(items)},
                    {"items", std::move(list)}};
    std::cout << json.dump(2) << '\n';
}

void print_text(const Options &options, const Manifest &manifest,
                const std::vector<Comparison> &items) {
    const Screen &screen = output_screen();
    Grid grid({{"NAME"},
               {"KIND"},
               {"VARIANT", true},
               {"SIZE", true},
               {"DIFFERENCE"},
               {"LUID"},
               {"DIGEST"}});
    for (const auto &[item, name, difference] : items) {
        if (options.changes && difference.empty()) continue;
        grid.add({name.empty() ? item.luid : std::string(name), std::string(kind_name(item.kind)),
                  std::to_string(item.variant), std::to_string(item.size), difference, item.luid,
                  item.digest},
                 difference.empty() ? nullptr : yellow);
    }
    grid.leave_out_to_fit(5, screen);
    const Pager pager;
    std::cout << fmt::format("{}: module {}, {} items\n", shown(options.path, screen),
                             shown(manifest.module, screen), manifest.items.size());
    for (const std::string &line : manifest.build) std::cout << "  " << shown(line, screen) << '\n';
    if (grid.rows() > 0) {
        std::cout << '\n';
        grid.print(std::cout, screen);
    }
    const std::size_t differences = count_differences(items);
    std::cout << (differences == 0 ? "\nThe schema is this program's.\n"
                                   : fmt::format("\n{} difference{} from this program's schema.\n",
                                                 differences, differences == 1 ? "" : "s"));
}

constexpr const char *footer = R"(
Items are recognised by their LUID. An item that this program doesn't have has no
name: it is new, or it replaces an item of this program, which is then gone.

Examples:
  tarnctl manifest /usr/lib/x86_64-linux-gnu/libtarnbase.so.1
  tarnctl manifest --changes --json build/libtarnbase.so)";

}  // namespace

void declare_manifest(cli::Command &program, Exit &status) {
    const auto options = std::make_shared<Options>();
    cli::Command &command = program.command(
        "manifest", "Show the schema of a library file, compared with this program's");
    command.argument("FILE", cli::into(options->path), "Library file").required();
    command.flag("--changes", options->changes, "Show only the items that differ");
    add_json_option(command, options->json);
    command.notes = footer;
    command.action = [options, &status] {
        const Manifest manifest = read_manifest(options->path);
        std::vector<Comparison> items = compare_with_own(manifest);
        if (count_differences(items) > 0) status = Exit::difference;
        if (options->json) print_json(*options, manifest, items);
        else print_text(*options, manifest, items);
    };
}

}  // namespace tarnctl
