// SPDX-License-Identifier: Apache-2.0
//
// tarnctl import: the records of a document into a store.
#include <fmt/core.h>

#include <iostream>
#include <map>
#include <memory>
#include <optional>

#include "base/options.h"
#include "commands/command.h"
#include "exchange/importer.h"
#include "model/json.h"
#include "tarnbase/tarn/trace.hpp"
#include "terminal/progress.h"
#include "terminal/screen.h"

namespace tarnctl {
namespace {

constexpr const char *footer = R"(
The document was written by export, or by a program in one of its forms; without
--format its first bytes determine the form. Tables are made as needed. An import
is one transaction: an error names the file and the line (or the frame and its
byte), and leaves the store as it was, unless --skip-bad skips records that can't
be read. A document that is malformed as a whole, such as a truncated file, is
always an error.

--json prints one object: {"inserted", "replaced", "kept", "skipped", "tables",
"made", "dry_run"}; "inserted" counts the records that are new in the store or
replaced another, "made" the tables that were made.

With --skip-bad the exit status is 3 if a record was skipped.

Examples:
  tarnctl import --store net.store net.xml
  tarnctl import --store net.store --dry-run --skip-bad net.json
  tarnctl export -s old.store --format frames | tarnctl import -s new.store -)";

struct Options {
    std::string store;
    std::string input;
    std::vector<std::string> tables;
    std::optional<Format> format;
    OnConflict on_conflict = OnConflict::fail;
    bool skip_bad = false;
    double wait = usual_wait;
    bool dry_run = false;
    bool lenient = false;
    bool json = false;
};

Format format_of(const Options &options, Input &input) {
    if (options.format) return *options.format;
    if (const auto format = format_of_content(input.rest())) return *format;
    throw Failure(Exit::data, fmt::format("{}: expected XML, JSON or frames", input.name()));
}

void print(const Options &options, const ImportCounts &counts) {
    if (options.json) {
        const Json json = {{"inserted", counts.inserted}, {"replaced", counts.replaced},
                           {"kept", counts.kept},         {"skipped", counts.skipped},
                           {"tables", counts.tables},     {"made", counts.made},
                           {"dry_run", options.dry_run}};
        std::cout << json.dump() << '\n';
        return;
    }
    std::cout << fmt::format("{}{} record{} imported into {} table{}",
                             options.dry_run ? "dry run: " : "", counts.inserted,
                             counts.inserted == 1 ? "" : "s", counts.tables,
                             counts.tables == 1 ? "" : "s");
    if (counts.made > 0) std::cout << fmt::format(", {} of them new", counts.made);
    if (counts.replaced > 0) std::cout << fmt::format("; {} replaced", counts.replaced);
    if (counts.kept > 0) std::cout << fmt::format("; {} kept as they were", counts.kept);
    if (counts.skipped > 0) std::cout << fmt::format("; {} skipped", counts.skipped);
    std::cout << '\n';
}

ImportOptions import_options(const Options &options) {
    ImportOptions result;
    for (const std::string &table : options.tables) result.tables.push_back(parse_table(table));
    result.on_conflict = options.on_conflict;
    if (options.skip_bad)
        result.skip = [](const std::string &text) {
            std::cerr << fmt::format("tarnctl: {}; skipped\n", shown(text, output_screen()));
        };
    return result;
}

void run(const Options &options, Exit &status) {
    const tarn::quiet_scope quiet;
    ImportOptions how = import_options(options);
    Input input(options.input);
    const Format format = format_of(options, input);
    const Store store = Store::open_to_write(options.store, options.wait);
    tarn::transaction transaction = store.begin();
    Progress progress("bytes", input.size());
    how.advance = [&] { progress.advance_to(input.offset()); };
    Importer importer(store, transaction.id(), std::move(how));
    try {
        read_document(input, format, {options.lenient}, importer);
        importer.check_chosen(input.name());
    } catch (...) {
        transaction.rollback();
        importer.free_made_tables();
        throw;
    }
    if (options.dry_run) {
        transaction.rollback();
        importer.free_made_tables();
    } else {
        transaction.commit();
    }
    print(options, importer.counts());
    if (importer.counts().skipped > 0) status = Exit::data;
}

void add_input_options(cli::Command &command, Options &options) {
    command.option("-s,--store,--into", "STORE", store_into(options.store), "Store to import into")
        .environment("TARNBASE_STORE")
        .required();
    command.argument("FILE", cli::into(options.input), "Document to read; - is standard input")
        .required();
    command.option("-f,--format", "FORM", cli::one_of(format_names, options.format),
                   "Form of the document: xml, json, yang-json or frames; by default that of its "
                   "first bytes");
    command.option("-T,--table", "TABLE", cli::into(options.tables),
                   "Import only the records of this table; may be given several times");
}

}  // namespace

void declare_import(cli::Command &program, Exit &status) {
    const auto options = std::make_shared<Options>();
    cli::Command &command = program.command("import", "Put the records of an export into a store");
    add_input_options(command, *options);
    const std::map<std::string, OnConflict> conflicts = {
        {"fail", OnConflict::fail}, {"replace", OnConflict::replace}, {"keep", OnConflict::keep}};
    command.option("--on-conflict", "POLICY", cli::one_of(conflicts, options->on_conflict),
                   "What becomes of a record whose tenant, key and source the store has already: "
                   "fail (the default), replace the store's, or keep it");
    command.flag("--skip-bad", options->skip_bad,
                 "Skip records that can't be read, and report them");
    command.flag("--lenient", options->lenient, "Skip unknown elements, members and attributes");
    command.flag("-n,--dry-run", options->dry_run,
                 "Import, and roll back: the store stays as it is");
    add_wait_option(command, options->wait);
    add_json_option(command, options->json);
    command.notes = footer;
    command.action = [options, &status] { run(*options, status); };
}

}  // namespace tarnctl
