// SPDX-License-Identifier: Apache-2.0
//
// tarnctl tables: the tables of the schema, and those of a store.
#include <fmt/core.h>
#include <fnmatch.h>

#include <iostream>
#include <memory>
#include <optional>

#include "base/options.h"
#include "commands/command.h"
#include "model/census.h"
#include "model/instance.h"
#include "model/json.h"
#include "model/record.h"
#include "terminal/grid.h"
#include "terminal/pager.h"
#include "terminal/progress.h"

namespace tarnctl {
namespace {

struct Options {
    std::string store;
    std::string pattern;
    bool open = false;
    bool json = false;
};

// A table of the schema, with its instances in the store.
struct Row {
    const Table *table;
    std::vector<std::pair<Instance, Census>> open;
};

bool matches(const Table &table, const std::string &pattern) {
    const std::string name(table.name);
    return pattern.empty() || fnmatch(pattern.c_str(), name.c_str(), 0) == 0 ||
           fnmatch(pattern.c_str(), name.c_str() + table_prefix.size(), 0) == 0;
}

std::vector<Row> matching(const std::string &pattern) {
    std::vector<Row> rows;
    std::vector<std::string_view> names;
    for (const Table *table : catalogue.tables) {
        names.insert(names.end(), {table->name, table->name.substr(table_prefix.size())});
        if (matches(*table, pattern)) rows.push_back({table, {}});
    }
    if (rows.empty()) throw no_such(Exit::difference, "table", pattern, names);
    return rows;
}

void add_instances(std::vector<Row> &rows, const Store &store) {
    for (const Instance &instance : instances(store)) {
        for (Row &row : rows) {
            if (row.table != instance.table) continue;
            Progress progress("records", instance.block->record_count);
            row.open.emplace_back(instance, count_records(instance, [&] { progress.advance(); }));
        }
    }
}

std::string key_text(const Table &table) {
    std::string text;
    for (const Column &column : key_columns(table))
        text += fmt::format("{}{}", text.empty() ? "" : ", ", column.name());
    return text;
}

template <class Counts, class Name>
std::string counts_text(const Counts &counts, Name name) {
    std::string text;
    for (const auto &[whose, count] : counts)
        text += fmt::format("{}{}: {}", text.empty() ? "" : ", ", name(whose), count);
    return text;
}

Json json_of(const Instance &instance, const Census &census) {
    Json sources = Json::object();
    for (const auto &[source, count] : census.sources) sources.set(std::to_string(source), count);
    Json tenants = Json::object();
    for (const auto &[tenant, count] : census.tenants) tenants.set(std::to_string(tenant), count);
    const auto shadows = census.sources.find(KEL_SOURCE_SHADOW);
    return {{"instance", json_of_bytes(instance.full_name())},
            {"records", census.records},
            {"sources", std::move(sources)},
            {"tenants", std::move(tenants)},
            {"shadows", shadows == census.sources.end() ? 0U : shadows->second},
            {"pending", census.pending}};
}

void print_json(const std::vector<Row> &rows, bool with_store) {
    Json json = Json::array();
    for (const Row &row : rows) {
        Json key = Json::array();
        for (const Column &column : key_columns(*row.table)) key.add(column.name());
        Json each{{"table", row.table->name},
                  {"key", std::move(key)},
                  {"type", row.table->type->name},
                  {"meaning", row.table->meaning}};
        Json open = Json::array();
        for (const auto &[instance, census] : row.open) open.add(json_of(instance, census));
        if (with_store) each.set("open", open);
        json.add(each);
    }
    std::cout << json.dump(2) << '\n';
}

Grid schema_grid(const std::vector<Row> &rows) {
    Grid grid({{"TABLE"}, {"KEY"}, {"MEANING"}, {"RECORDS OF"}});
    for (const Row &row : rows)
        grid.add({std::string(row.table->name), key_text(*row.table),
                  std::string(row.table->meaning), std::string(row.table->type->name)});
    return grid;
}

Grid store_grid(const std::vector<Row> &rows) {
    Grid grid({{"TABLE"},
               {"RECORDS", true},
               {"BY SOURCE"},
               {"BY TENANT"},
               {"PENDING", true},
               {"KEY"},
               {"RECORDS OF"},
               {"MEANING"}});
    for (const Row &row : rows) {
        const std::vector<std::string> schema = {key_text(*row.table),
                                                 std::string(row.table->type->name),
                                                 std::string(row.table->meaning)};
        const auto add = [&](std::vector<std::string> cells, Style style) {
            cells.insert(cells.end(), schema.begin(), schema.end());
            grid.add(std::move(cells), style);
        };
        if (row.open.empty()) add({std::string(row.table->name), "", "", "", ""}, dim);
        for (const auto &[instance, census] : row.open)
            add({instance.full_name(), std::to_string(census.records),
                 counts_text(census.sources, source_name),
                 counts_text(census.tenants, [](uint16_t tenant) { return tenant; }),
                 std::to_string(census.pending)},
                nullptr);
    }
    return grid;
}

void print_text(const std::vector<Row> &rows, bool with_store) {
    const Screen &screen = output_screen();
    Grid grid = with_store ? store_grid(rows) : schema_grid(rows);
    const std::size_t left_out = grid.leave_out_to_fit(with_store ? 4 : 3, screen);
    const Pager pager;
    grid.print(std::cout, screen);
    if (left_out > 0 && screen.is_terminal)
        std::cout << dim(fmt::format("{} column{} hidden: --json or a wider screen shows them",
                                     left_out, left_out == 1 ? "" : "s"),
                         screen)
                  << '\n';
}

void run(const Options &options) {
    std::vector<Row> rows = matching(options.pattern);
    const bool with_store = !options.store.empty();
    if (options.open && !with_store)
        throw Failure(Exit::usage, "--open: name the store with --store or TARNBASE_STORE");
    std::optional<Store> store;
    if (with_store) {
        store.emplace(Store::open_to_read(options.store));
        add_instances(rows, *store);
    }
    if (options.open) std::erase_if(rows, [](const Row &row) { return row.open.empty(); });
    if (options.json) print_json(rows, with_store);
    else print_text(rows, with_store);
}

constexpr const char *footer = R"(
With a store, a table of the store has a line for each of its instances, with the
number of records by source and by tenant. Source 255 is that of shadows. Pending
records await their destruction.

A pattern has * for any characters, ? for one and [abc] for one of several.

Examples:
  tarnctl tables 'ldap_*'
  tarnctl tables --open --store net.store)";

}  // namespace

void declare_tables(cli::Command &program, Exit & /*status*/) {
    const auto options = std::make_shared<Options>();
    cli::Command &command =
        program.command("tables", "List the tables of the schema and of a store");
    command.argument("PATTERN", cli::into(options->pattern),
                     "Tables to list, by name with or without tbl_; all by default");
    add_optional_store_option(command, options->store);
    command.flag("--open", options->open, "List only the tables that are open in the store");
    add_json_option(command, options->json);
    command.notes = footer;
    command.action = [options] { run(*options); };
}

}  // namespace tarnctl
