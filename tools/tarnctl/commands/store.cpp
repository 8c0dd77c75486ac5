// SPDX-License-Identifier: Apache-2.0
//
// tarnctl store: makes a store file, and shows its contents.
#include <fmt/core.h>

#include <charconv>
#include <iostream>
#include <memory>

#include "base/options.h"
#include "base/size.h"
#include "commands/command.h"
#include "commands/store_check.h"
#include "model/instance.h"
#include "model/json.h"
#include "tarnbase/tarnbase.h"
#include "terminal/grid.h"

namespace tarnctl {
namespace {

constexpr uint64_t page = 4096;

struct Options {
    std::string path;
    std::string capacity;
    std::string base;
    bool types = false;
    bool json = false;
};

uint64_t capacity_of(const std::string &text) {
    if (text.empty()) return 0;
    const auto size = parse_size(text);
    if (!size || *size == 0 || *size % page != 0)
        throw Failure(Exit::usage,
                      fmt::format("--capacity `{}`: expected a size such as 512M or 64G, a "
                                  "multiple of {} bytes",
                                  text, page));
    return *size;
}

void *base_of(const std::string &text) {
    if (text.empty()) return nullptr;
    const std::string_view digits =
        std::string_view(text).substr(text.starts_with("0x") || text.starts_with("0X") ? 2 : 0);
    uintptr_t address = 0;
    const char *end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, address, 16);
    if (error != std::errc() || stop != end || address == 0 || address % page != 0)
        throw Failure(Exit::usage, fmt::format("--base `{}`: expected a hexadecimal address, a "
                                               "multiple of {}",
                                               text, page));
    return reinterpret_cast<void *>(address);
}

void create(const Options &options) {
    const kel_store_options wanted{capacity_of(options.capacity), base_of(options.base)};
    const Store store = Store::create(options.path, wanted);
    if (!options.types) return;
    uint32_t err = 0;
    tarnbase_typeinfo_initialize(store.handle(), KEL_TX_NONE, &err);
    need(err, fmt::format("{}: entering the types", options.path));
    store.publish();
}

// The contents of a store: kel_store_description and the table list.
struct Info {
    kel_store_description store;
    std::vector<Instance> tables;
    std::size_t unknown = 0;  // tables that aren't in the catalogue

    explicit Info(const Store &from) : store(from.describe()), tables(instances(from, &unknown)) {}
    double fill() const {
        return store.size == 0
                   ? 0.0
                   : static_cast<double>(store.block_bytes) / static_cast<double>(store.size);
    }
};

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

void print_text(const std::string &path, const Info &info) {
    const Screen &screen = output_screen();
    const auto line = [&](std::string_view name, const std::string &value) {
        std::cout << fmt::format("{:<14}{}\n", name, shown(value, screen));
    };
    line("store", path);
    line("size", exact(info.store.size));
    line("capacity", exact(info.store.capacity));
    line("in use",
         fmt::format("{} in {} blocks, {:.1f} % of the size", exact(info.store.block_bytes),
                     info.store.blocks, 100 * info.fill()));
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

void inform(const Options &options) {
    const Store store = Store::open_to_read(options.path);
    const Info info(store);
    if (options.json) print_json(options.path, info);
    else print_text(options.path, info);
}

void declare_create(cli::Command &group) {
    const auto options = std::make_shared<Options>();
    cli::Command &command = group.command("create", "Make a store file");
    command.argument("FILE", store_into(options->path), "File to make; it must not exist")
        .required();
    command.option("--capacity", "SIZE", cli::into(options->capacity),
                   "What the store may grow to, in bytes or as a number with K, M, G or T; "
                   "64G by default");
    command.option("--base", "ADDRESS", cli::into(options->base),
                   "Address at which every process maps the store, in hexadecimal; chosen by "
                   "the runtime by default");
    command.flag("--types", options->types,
                 "Enter the descriptors of all types at once, not with the first record");
    command.notes =
        "The file uses disk space only for its contents; the capacity is a range of\n"
        "addresses.\n\n"
        "Examples:\n"
        "  tarnctl store create net.store\n"
        "  tarnctl store create --capacity 512M --types net.store";
    command.action = [options] { create(*options); };
}

void declare_info(cli::Command &group) {
    const auto options = std::make_shared<Options>();
    cli::Command &command =
        group.command("info", "Show size, fill, types, transactions and tables");
    command.argument("FILE", store_into(options->path), "Store file")
        .named("-s,--store")
        .environment("TARNBASE_STORE")
        .required();
    add_json_option(command, options->json);
    command.notes =
        "The size is that of the file; in use are the bytes of its blocks, in their size\n"
        "classes. Types are the descriptors in the store, for all processes.\n\n"
        "Examples:\n"
        "  tarnctl store info net.store\n"
        "  tarnctl store info --json net.store";
    command.action = [options] { inform(*options); };
}

}  // namespace

void declare_store(cli::Command &program, Exit &status) {
    cli::Command &group = program.command("store", "Make a store file, or show its contents");
    group.notes = "Example:\n  tarnctl store create net.store";
    declare_create(group);
    declare_info(group);
    declare_store_check(group, status);
}

}  // namespace tarnctl
