// SPDX-License-Identifier: Apache-2.0
//
// tarnctl store info: what is in a store, what its files take, and who writes it.
#include <fmt/core.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>

#include "base/options.h"
#include "base/size.h"
#include "base/time.h"
#include "commands/command.h"
#include "commands/store.h"
#include "model/instance.h"
#include "model/json.h"
#include "model/writer.h"
#include "terminal/grid.h"

namespace tarnctl {
namespace {

struct Options {
    std::string store;
    bool json = false;
};

// About what a store takes on disk besides its pages: its control file, the sets of its pages and
// a short log.
constexpr uint64_t least_files = 384 << 10;

struct Info {
    kel_store_description store;
    kel_store_files files;
    std::optional<kel_store_writer> writer;
    std::vector<Instance> tables;
    std::size_t unknown = 0;  // tables that aren't in the catalogue

    explicit Info(const Store &from)
        : store(from.describe()),
          files(from.files()),
          writer(writer_of(from.store())),
          tables(instances(from, &unknown)) {}
    double fill() const {
        return store.size == 0
                   ? 0.0
                   : static_cast<double>(store.block_bytes) / static_cast<double>(store.size);
    }
    // About what `store compact` returns to the file system.
    uint64_t reclaimable() const {
        const uint64_t least = least_files + store.block_bytes + store.free_bytes;
        return files.bytes - std::min(files.bytes, least);
    }
};

Json json_of(const std::optional<kel_store_writer> &writer) {
    if (!writer) return {};
    Json json{{"pid", writer->pid}, {"command", writer->command}};
    if (writer->since != 0) json.set("since", utc_time(writer->since));
    return json;
}

Json json_of_time(uint64_t moment) { return moment == 0 ? Json() : Json(utc_time(moment)); }

void print_json(const std::string &path, const Info &info) {
    Json tables = Json::array();
    for (const Instance &each : info.tables)
        tables.add({{"table", each.table->name},
                    {"instance", json_of_bytes(each.full_name())},
                    {"records", each.block->record_count}});
    const Json json{{"path", json_of_bytes(path)},
                    {"size", info.store.size},
                    {"capacity", info.store.capacity},
                    {"blocks", info.store.blocks},
                    {"block_bytes", info.store.block_bytes},
                    {"fill", info.fill()},
                    {"free", info.store.free_bytes},
                    {"disk", info.files.bytes},
                    {"reclaimable", info.reclaimable()},
                    {"writer", json_of(info.writer)},
                    {"last_commit", json_of_time(info.store.commit_time)},
                    {"log", {{"bytes", info.store.log_bytes}, {"disk", info.files.log_bytes}}},
                    {"checkpoint",
                     {{"time", json_of_time(info.files.checkpoint_time)},
                      {"disk", info.files.checkpoint_bytes}}},
                    {"base", fmt::format("{}", info.store.base)},
                    {"types", info.store.types},
                    {"transactions",
                     {{"open", info.store.transactions},
                      {"committed", info.store.committed},
                      {"rolled_back", info.store.rolled_back}}},
                    {"tables", std::move(tables)},
                    {"unknown_tables", info.unknown}};
    std::cout << json.dump(2) << '\n';
}

std::string exact(uint64_t bytes) {
    return bytes < 1024 ? size_text(bytes) : fmt::format("{} ({} bytes)", size_text(bytes), bytes);
}

std::string text_of_time(uint64_t moment) {
    return moment == 0 ? "none" : fmt::format("{}, {} ago", local_time(moment), age(moment));
}

std::string text_of(const std::optional<kel_store_writer> &writer) {
    if (!writer) return "none";
    return writer->since == 0
               ? name_of(*writer)
               : fmt::format("{} since {}", name_of(*writer), local_time(writer->since));
}

void print_text(const std::string &path, const Info &info) {
    const Screen &screen = output_screen();
    const auto line = [&](std::string_view name, const std::string &value) {
        std::cout << fmt::format("{:<14}{}\n", name, shown(value, screen));
    };
    line("store", path);
    line("writer", text_of(info.writer));
    line("last commit", text_of_time(info.store.commit_time));
    line("checkpoint", fmt::format("{}; {} on disk", text_of_time(info.files.checkpoint_time),
                                   size_text(info.files.checkpoint_bytes)));
    line("log", fmt::format("{} after the checkpoint; {} on disk", exact(info.store.log_bytes),
                            size_text(info.files.log_bytes)));
    line("on disk", fmt::format("{}, about {} reclaimable", exact(info.files.bytes),
                                size_text(info.reclaimable())));
    line("size", exact(info.store.size));
    line("capacity", exact(info.store.capacity));
    line("in use",
         fmt::format("{} in {} blocks, {:.1f} % of the size", exact(info.store.block_bytes),
                     info.store.blocks, 100 * info.fill()));
    line("free", exact(info.store.free_bytes));
    line("base address", fmt::format("{}", info.store.base));
    line("types", std::to_string(info.store.types));
    line("transactions",
         fmt::format("{} open, {} committed, {} rolled back", info.store.transactions,
                     info.store.committed, info.store.rolled_back));
    line("tables", std::to_string(info.store.tables) +
                       (info.unknown == 0
                            ? ""
                            : fmt::format(", {} of them unknown to this program", info.unknown)));
    if (info.tables.empty()) return;
    Grid grid({{"TABLE", false}, {"RECORDS", true}});
    for (const Instance &each : info.tables)
        grid.add({each.full_name(), std::to_string(each.block->record_count)});
    std::cout << '\n';
    grid.print(std::cout, screen);
}

void run(const Options &options) {
    const Store store = Store::open_to_read(options.store);
    const Info info(store);
    if (options.json) print_json(options.store, info);
    else print_text(options.store, info);
}

}  // namespace

void declare_store_info(cli::Command &group) {
    const auto options = std::make_shared<Options>();
    cli::Command &command =
        group.command("info", "Show the writer, the files, the fill and the tables");
    add_store_argument(command, options->store, "Store to describe");
    add_json_option(command, options->json);
    command.notes =
        "The size is that of the memory; in use are the bytes of its blocks, in their size\n"
        "classes, and free those between them, which new records use first. Types are the\n"
        "descriptors in the store, for all processes. Reclaimable is what `tarnctl store\n"
        "compact` returns to the file system. The writer may be another one a moment later.\n\n"
        "Examples:\n"
        "  tarnctl store info net.store\n"
        "  tarnctl store info --json net.store";
    command.action = [options] { run(*options); };
}

}  // namespace tarnctl
