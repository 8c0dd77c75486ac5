// SPDX-License-Identifier: Apache-2.0
//
// tarnctl export: the records of a store as a document.
#include <fmt/core.h>

#include <iostream>
#include <memory>
#include <optional>

#include "base/options.h"
#include "base/output_file.h"
#include "commands/command.h"
#include "exchange/writer.h"
#include "model/instance.h"
#include "terminal/progress.h"
#include "terminal/screen.h"

namespace tarnctl {
namespace {

constexpr const char *footer = R"(
The document has the records of all tenants and sources, in one of four forms:

JSON: a record a line. It can represent all values; bytes that aren't UTF-8 are
{"hex": "00ff"}, and a number beyond 2^53 is a string of its digits, because many
readers use doubles for numbers.

XML: the record form of the library, for other programs. It can't represent
strings with control characters or bytes that aren't UTF-8, nor an enumeration
with a value that no enumerator has: such a record ends the export. With --skip it
is left out and reported, and the exit status is 3. With --escape its element has
escaped="true" and each such byte as \x and two hexadecimal digits, a backslash
as two, and such a value as its number; import reads it back.

yang-json: the JSON of the YANG module that is installed with tarnctl (RFC 7951),
for tools of network management. It can't represent what XML can't; --skip leaves
it out.

frames: the wire form, the fastest from store to store. It can represent all
values.

The file is replaced only when the export is complete: one that ends early leaves
the old file.

Examples:
  tarnctl export --store net.store -o net.xml
  tarnctl export --store net.store -o net.frames
  tarnctl export -s net.store --format json ldap_conn | gzip > ldap.json.gz
  tarnctl export --store net.store --at 2026-11-22T10:30 -o then.frames)";

struct Options {
    std::string store;
    std::optional<Moment> at;
    std::vector<std::string> tables;
    std::optional<Format> format;
    std::string output;
    bool skip = false;
    bool escape = false;
};

std::vector<Instance> chosen(const Store &store, const std::vector<std::string> &tables) {
    if (tables.empty()) {
        std::size_t unknown = 0;
        std::vector<Instance> all = instances(store, &unknown);
        if (unknown == 0) return all;
        throw Failure(Exit::store,
                      fmt::format("{}: {} of its tables are of types that this program doesn't "
                                  "have; name the tables to export",
                                  store.path(), unknown));
    }
    std::vector<Instance> found;
    // A table that is named twice is exported once.
    const auto add = [&](const Instance &instance) {
        for (const Instance &each : found)
            if (each.block == instance.block) return;
        found.push_back(instance);
    };
    for (const std::string &name : tables) {
        const TableReference reference = parse_table(name);
        if (reference.name || reference.id) {
            add(find_instance(store, reference));
            continue;
        }
        const std::vector<Instance> all = instances_of(store, *reference.table);
        // It has none: fails.
        if (all.empty()) find_instance(store, reference);
        for (const Instance &each : all) add(each);
    }
    return found;
}

Format format_of(const Options &options) {
    const Format format = chosen_format(options.format, options.output);
    if (options.skip && format != Format::xml && format != Format::yang_json)
        throw Failure(Exit::usage,
                      "--skip: only XML and YANG have records that they can't represent");
    if (options.escape && format != Format::xml)
        throw Failure(Exit::usage, "--escape: only XML has escaped records");
    return format;
}

Unfit unfit_records(const Options &options, uint64_t &left_out) {
    Unfit unfit;
    unfit.escape = options.escape;
    if (options.skip)
        unfit.skip = [&left_out](const std::string &text) {
            std::cerr << fmt::format("tarnctl: {}; left out\n", shown(text, output_screen()));
            ++left_out;
        };
    return unfit;
}

void run(const Options &options, Exit &status) {
    const Store store = Store::open_to_read(options.store, options.at);
    const std::vector<Instance> tables = chosen(store, options.tables);
    uint64_t total = 0;
    for (const Instance &instance : tables) total += instance.block->record_count;

    const Format format = format_of(options);
    uint64_t left_out = 0;
    OutputFile output(options.output);
    const std::unique_ptr<Writer> writer =
        make_writer(format, output.stream(), unfit_records(options, left_out));
    Progress progress("records", total);
    for (const Instance &instance : tables) {
        writer->begin_table(instance);
        for_each_record(store, instance, [&](const Record &record) {
            writer->write(record);
            progress.advance();
            return static_cast<bool>(output.stream());
        });
        writer->end_table();
    }
    writer->end();
    output.finish();
    if (left_out == 0) return;
    std::cerr << fmt::format("tarnctl: {} record{} left out\n", left_out, left_out == 1 ? "" : "s");
    status = Exit::data;
}

}  // namespace

void declare_export(cli::Command &program, Exit &status) {
    const auto options = std::make_shared<Options>();
    cli::Command &command =
        program.command("export", "Write the records of a store as XML, JSON or frames");
    add_store_option(command, options->store);
    add_at_option(command, options->at);
    command.argument("TABLE", cli::into(options->tables),
                     "Table to export, each instance of it unless one is named; all by default");
    command.option("-f,--format", "FORM", cli::one_of(format_names, options->format),
                   "Form of the document: xml, json, yang-json or frames; by default that of "
                   "the file's suffix, else json");
    command.option("-o,--output", "FILE", cli::into(options->output),
                   "File to write; standard output by default");
    command.flag("--skip", options->skip, "Leave out the records that the form can't represent")
        .excludes("escape");
    command.flag("--escape", options->escape,
                 "Escape what XML can't represent, in a form that import reads back");
    command.notes = footer;
    command.action = [options, &status] { run(*options, status); };
}

}  // namespace tarnctl
