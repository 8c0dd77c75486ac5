// SPDX-License-Identifier: Apache-2.0
//
// tarnctl minutes: draws the figures of a day.
#include <fmt/core.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <optional>

#include "base/argument.h"
#include "base/options.h"
#include "base/output_file.h"
#include "commands/command.h"
#include "figures/chart.h"
#include "figures/day.h"
#include "figures/drawing.h"
#include "json/document.h"
#include "model/record.h"
#include "terminal/screen.h"

namespace tarnctl {
namespace {

constexpr const char *footer = R"(
A bar of the line is for as many minutes as the width requires, and is as high as
the highest of their figures; the heatmap has a row an hour and a cell a minute.
The program that keeps the table chooses what the figures count.

A picture is written if --output ends in .svg or .png, or with --as, and is 960
by 320 pixels by default.

Examples:
  tarnctl minutes aaa_servers radius1 --store net.store
  tarnctl minutes aaa_servers radius1 --store net.store --as heatmap
  tarnctl minutes aaa_servers radius1 --store net.store --output radius1.svg)";

enum class Drawing { line, heatmap, svg, png };

const std::map<std::string, Drawing> drawings = {{"line", Drawing::line},
                                                 {"heatmap", Drawing::heatmap},
                                                 {"svg", Drawing::svg},
                                                 {"png", Drawing::png}};

struct Options {
    std::string store;
    std::string table;
    std::vector<std::string> key;
    std::string field;
    std::string output;
    std::string size = "960x320";
    std::optional<Drawing> drawing;
    uint8_t source = KEL_SOURCE_DEFAULT;
    uint16_t tenant = 0;
    bool json = false;
};

bool is_day(const Column &column) {
    return column.path.whole_array && column.path.leaf().elements == minutes_of_a_day;
}

Column day_column(const Table &table, const std::string &field) {
    if (!field.empty()) {
        const Column column = column_named(table, field);
        if (is_day(column)) return column;
        throw Failure(Exit::usage, fmt::format("`{}` of {} is no array of {} figures", field,
                                               table.name, minutes_of_a_day));
    }
    for (const Column &column : columns_of(table)) {
        if (is_day(column)) return column;
    }
    std::string others;
    for (const Table *each : catalogue.tables) {
        const auto columns = columns_of(*each);
        if (std::any_of(columns.begin(), columns.end(), is_day))
            others += fmt::format("{}`{}`", others.empty() ? "" : ", ", each->name);
    }
    throw Failure(Exit::usage, fmt::format("{} has no figures by the minute; these tables have: {}",
                                           table.name, others));
}

Day read_day(const Options &options) {
    const TableReference reference = parse_table(options.table);
    const Column column = day_column(*reference.table, options.field);
    const Key key = read_argument([&] { return Key(*reference.table, options.key); });
    const Store store = Store::open_to_read(options.store);
    const Instance instance = find_instance(store, reference);
    const tarn::tenant_scope tenant(options.tenant);
    const Record record = find_record(store, instance, key, options.source);
    if (record.record == nullptr)
        throw Failure(Exit::difference,
                      fmt::format("{} holds no record {}", instance.full_name(), key.text()));
    return {fmt::format("{} {} {}", reference.table->name, key.text(), column.name()),
            record.value(column).elements()};
}

std::pair<int, int> size_of(const std::string &text) {
    int width = 0;
    int height = 0;
    char rest = 0;
    const bool good = std::sscanf(text.c_str(), "%dx%d%c", &width, &height, &rest) == 2;
    if (!good || width < 200 || width > 10000 || height < 120 || height > 10000)
        throw Failure(Exit::usage, fmt::format("--size `{}`: expected WIDTHxHEIGHT in pixels, 200 "
                                               "to 10000 by 120 to 10000",
                                               text));
    return {width, height};
}

Drawing drawing_of(const Options &options) {
    if (options.drawing) return *options.drawing;
    if (options.output.ends_with(".svg")) return Drawing::svg;
    if (options.output.ends_with(".png")) return Drawing::png;
    if (suffix_of(options.output).empty()) return Drawing::line;
    throw Failure(Exit::usage, fmt::format("--output `{}`: expected a name that ends in .svg or "
                                           ".png; --as chooses the drawing for any other",
                                           options.output));
}

std::string numbers_of(const Day &day) {
    const Summary summary = summary_of(day);
    return fmt::format("low {} at {}, high {} at {}, average {:.1f}\n", summary.low,
                       clock_text(summary.low_minute), summary.high,
                       clock_text(summary.high_minute), summary.average);
}

std::string json_of(const Day &day) {
    const Summary summary = summary_of(day);
    const Json json{{"title", day.title},
                    {"low", summary.low},
                    {"low_at", clock_text(summary.low_minute)},
                    {"high", summary.high},
                    {"high_at", clock_text(summary.high_minute)},
                    {"average", summary.average},
                    {"minutes", day.minutes}};
    return json.dump(2) + "\n";
}

std::string drawn(const Day &day, const Options &options) {
    const auto [width, height] = size_of(options.size);
    const Screen &screen = output_screen();
    const std::string title = shown(day.title, screen);
    switch (drawing_of(options)) {
        case Drawing::svg:
            return svg_chart(day, width, height);
        case Drawing::png:
            return png_chart(day, width, height);
        case Drawing::heatmap:
            return fmt::format("{}\n{}{}", title, heatmap(day, screen), numbers_of(day));
        default:
            return fmt::format("{}\n{}{}", title, sparkline(day, screen), numbers_of(day));
    }
}

void write(const std::string &path, const std::string &bytes) {
    if (path.empty() || path == "-") {
        std::cout << bytes;
        return;
    }
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << bytes << std::flush;
    if (!file) throw Failure(Exit::store, fmt::format("{}: {}", path, std::strerror(errno)));
}

}  // namespace

void declare_minutes(cli::Command &program, Exit & /*status*/) {
    const auto options = std::make_shared<Options>();
    cli::Command &command = program.command("minutes", "Draw the 1440 figures of a record's day");
    add_store_option(command, options->store);
    command.argument("TABLE", cli::into(options->table), "Table with figures by the minute")
        .required();
    command
        .argument("KEY", cli::into(options->key),
                  "Values of the record's key, in the order of the key")
        .required();
    command.option("--field", "FIELD", cli::into(options->field),
                   "Field to draw; the first of 1440 figures");
    command.option("--as", "DRAWING", cli::one_of(drawings, options->drawing),
                   "What to draw: line, heatmap, svg or png");
    command.option("-o,--output", "FILE", cli::into(options->output),
                   "File to write; standard output otherwise");
    command.option("--size", "WIDTHxHEIGHT", cli::into(options->size),
                   "Size of a picture in pixels");
    add_tenant_option(command, options->tenant, "Tenant of the record; 0 by default");
    add_source_option(command, options->source, "Source of the record; 1 by default");
    add_json_option(command, options->json);
    command.notes = footer;
    command.action = [options] {
        const Day day = read_day(*options);
        write(options->output, options->json ? json_of(day) : drawn(day, *options));
    };
}

}  // namespace tarnctl
