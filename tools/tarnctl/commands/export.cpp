// SPDX-License-Identifier: Apache-2.0
//
// tarnctl export: the records of a store as a document.
#include <fmt/format.h>

#include <memory>
#include <optional>

#include "base/output_file.h"
#include "base/quiet.h"
#include "commands/command.h"
#include "exchange/writer.h"
#include "model/instance.h"
#include "terminal/progress.h"

namespace tarnctl {
namespace {

constexpr const char *footer = R"(
The document holds the records of all tenants and sources, and is one of three
forms:

XML: the record form of the library, for other programs. It can't carry strings
with control characters or bytes that aren't UTF-8, and no enumeration whose
value is none of its enumerators': such a record ends the export.

JSON: a record a line. It carries all values.

frames: the wire form, for the quickest way from store to store. It carries all
values.

The file is written whole, or stays as it was: an export that ends early leaves
the old one.

Examples:
  tarnctl export --store net.store -o net.xml
  tarnctl export --store net.store -o net.frames
  tarnctl export -s net.store --format json ldap_conn | gzip > ldap.json.gz)";

struct Options {
    std::string store;
    std::vector<std::string> tables;
    std::optional<Format> format;
    std::string output;
};

std::vector<Instance> chosen(const Store &store, const std::vector<std::string> &tables) {
    if (tables.empty()) {
        std::size_t unknown = 0;
        std::vector<Instance> all = instances(store, &unknown);
        if (unknown == 0) return all;
        throw Failure(Exit::store,
                      fmt::format("{}: {} of its tables are of types that this program doesn't "
                                  "know; name the tables to export",
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
        // It has none: this says so.
        if (all.empty()) find_instance(store, reference);
        for (const Instance &each : all) add(each);
    }
    return found;
}

void run(const Options &options) {
    const QuietScope quiet;
    const Store store = Store::open_to_read(options.store);
    const std::vector<Instance> tables = chosen(store, options.tables);
    uint64_t total = 0;
    for (const Instance &instance : tables) total += instance.block->record_count;

    const Format format =
        options.format.value_or(format_of_name(options.output).value_or(Format::xml));
    OutputFile output(options.output);
    const std::unique_ptr<Writer> writer = make_writer(format, output.stream());
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
}

}  // namespace

void declare_export(cli::Command &program, Exit & /*status*/) {
    const auto options = std::make_shared<Options>();
    cli::Command &command =
        program.command("export", "Write the records of a store as XML, JSON or frames");
    add_store_option(command, options->store);
    command.argument("TABLE", cli::into(options->tables),
                     "Table to export, each instance of it unless one is named; all by default");
    command.option("-f,--format", "FORM", cli::one_of(format_names, options->format),
                   "Form of the document: xml, json or frames; by default that of the file's "
                   "suffix, else xml");
    command.option("-o,--output", "FILE", cli::into(options->output),
                   "File to write; standard output by default");
    command.notes = footer;
    command.action = [options] { run(*options); };
}

}  // namespace tarnctl
