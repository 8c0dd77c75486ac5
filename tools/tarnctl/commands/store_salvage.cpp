// SPDX-License-Identifier: Apache-2.0
//
// tarnctl store salvage: what can be read of a damaged store, as a document.
#include <fmt/core.h>

#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/options.h"
#include "base/output_file.h"
#include "commands/command.h"
#include "commands/store.h"
#include "exchange/writer.h"
#include "model/instance.h"
#include "model/json.h"
#include "terminal/progress.h"
#include "terminal/screen.h"

namespace tarnctl {
namespace {

constexpr const char *footer = R"(
STORE may have damaged pages, a log that is torn, or no control file. Each record that
is sound is written, in the form of the name's suffix: .json, .xml, .yang.json or
.frames. import reads all of them. One wrong bit in a page is put right; no value is
taken from another page with a wrong checksum. A table whose name is lost is named
salvaged-NUMBER. STORE isn't changed; no other process should write to it meanwhile.

Each loss is a line on standard error, and then, for each table, how many of its
records were saved and lost, as far as that can be known. The exit status is 0 if
nothing is lost, else 3.

--json prints {"path", "output", "saved", "lost", "tables", "losses"}.

Examples:
  tarnctl store salvage net.store --output net.json
  tarnctl store create new.store && tarnctl import --store new.store net.json)";

struct Options {
    std::string store;
    std::string output;
    std::optional<Format> format;
    bool json = false;
};

// What a salvage has lost, by table.
struct Losses {
    struct Loss {
        const kel_table *table;
        uint64_t records;
        std::string text;
    };
    std::vector<Loss> all;

    static void add(const kel_table *table, uint64_t records, const char *text, void *context) {
        static_cast<Losses *>(context)->all.push_back({table, records, text});
    }
    uint64_t of(const kel_table *table) const {
        uint64_t lost = 0;
        for (const Loss &loss : all)
            if (loss.table == table) lost += loss.records;
        return lost;
    }
    uint64_t total() const {
        uint64_t lost = 0;
        for (const Loss &loss : all) lost += loss.records;
        return lost;
    }
};

// A table with what was saved and lost of it.
struct Saved {
    Instance instance;
    uint64_t records;
};

std::string name_of(const std::vector<Saved> &saved, const kel_table *table) {
    for (const Saved &each : saved)
        if (each.instance.block == table) return each.instance.full_name();
    return {};
}

std::vector<Saved> write(const Store &store, Writer &writer, Losses &losses) {
    std::vector<Saved> saved;
    uint64_t total = 0;
    for (const Instance &each : instances(store)) total += each.block->record_count;
    Progress progress("records", total);
    for (const Instance &instance : instances(store)) {
        saved.push_back({instance, 0});
        writer.begin_table(instance);
        for_each_own_record(store, instance, [&](const Record &record) {
            progress.advance();
            try {
                writer.write(record);
                ++saved.back().records;
            } catch (const Failure &failure) {
                losses.all.push_back({instance.block, 1, failure.what()});
            }
            return true;
        });
        writer.end_table();
    }
    writer.end();
    return saved;
}

void print_json(const Options &options, const std::vector<Saved> &saved, const Losses &losses) {
    Json tables = Json::array();
    uint64_t records = 0;
    for (const Saved &each : saved) {
        records += each.records;
        tables.add({{"table", each.instance.table->name},
                    {"instance", json_of_bytes(each.instance.full_name())},
                    {"saved", each.records},
                    {"lost", losses.of(each.instance.block)}});
    }
    Json lines = Json::array();
    for (const Losses::Loss &loss : losses.all) {
        const std::string instance = name_of(saved, loss.table);
        lines.add({{"instance", instance.empty() ? Json() : json_of_bytes(instance)},
                   {"records", loss.records},
                   {"text", json_of_bytes(loss.text)}});
    }
    const Json json{{"path", json_of_bytes(options.store)},
                    {"output", json_of_bytes(options.output)},
                    {"saved", records},
                    {"lost", losses.total()},
                    {"tables", std::move(tables)},
                    {"losses", std::move(lines)}};
    std::cout << json.dump(2) << '\n';
}

void print_lines(const std::vector<Saved> &saved, const Losses &losses) {
    const Screen &screen = output_screen();
    for (const Losses::Loss &loss : losses.all) {
        const std::string instance = name_of(saved, loss.table);
        std::cerr << fmt::format("tarnctl: {}{}{}\n", shown(instance, screen),
                                 instance.empty() ? "" : ": ", shown(loss.text, screen));
    }
    for (const Saved &each : saved)
        std::cerr << fmt::format("tarnctl: {}: {} saved, {} lost\n",
                                 shown(each.instance.full_name(), screen), each.records,
                                 losses.of(each.instance.block));
}

void run(const Options &options, Exit &status) {
    const Format format = chosen_format(options.format, options.output);
    std::error_code ignored;
    if (options.json && (options.output.empty() || options.output == "-"))
        throw Failure(Exit::usage, "--json: it needs an --output that is a file");
    if (std::filesystem::exists(options.output, ignored))
        throw Failure(Exit::store, fmt::format("{}: it exists already", options.output));
    Losses losses;
    const Store store = Store::salvaged_of(options.store, Losses::add, &losses);
    OutputFile output(options.output);
    // What XML can't represent is escaped.
    const std::unique_ptr<Writer> writer = make_writer(format, output.stream(), {true, {}});
    const std::vector<Saved> saved = write(store, *writer, losses);
    output.finish();
    if (!losses.all.empty()) status = Exit::data;
    if (options.json) return print_json(options, saved, losses);
    print_lines(saved, losses);
}

}  // namespace

void declare_store_salvage(cli::Command &group, Exit &status) {
    const auto options = std::make_shared<Options>();
    cli::Command &command =
        group.command("salvage", "Write what can be read of a damaged store as a document");
    add_store_argument(command, options->store, "Store to read");
    command
        .option("-o,--output", "OUT", cli::into(options->output),
                "File to write; it must not exist")
        .required();
    command.option("-f,--format", "FORM", cli::one_of(format_names, options->format),
                   "Form of the document: xml, json, yang-json or frames; by default that of "
                   "the file's suffix, else json");
    add_json_option(command, options->json);
    command.notes = footer;
    command.action = [options, &status] { run(*options, status); };
}

}  // namespace tarnctl
