// SPDX-License-Identifier: Apache-2.0
//
// tarnctl store check: whether a store is sound.
#include "commands/store.h"

#include <fmt/core.h>

#include <cerrno>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/options.h"
#include "model/json.h"
#include "tarnbase/module.h"
#include "tarnbase/tarn/store.hpp"
#include "terminal/progress.h"
#include "terminal/screen.h"

namespace tarnctl {
namespace {

struct Options {
    std::string path;
    bool json = false;
};

// Collects what a check reports.
struct Findings {
    std::vector<std::string> lines;
    std::optional<Progress> progress;

    static void add(const char *text, void *context) {
        static_cast<Findings *>(context)->lines.emplace_back(text);
    }
    static void show(uint64_t blocks, uint64_t total, void *context) {
        Findings &self = *static_cast<Findings *>(context);
        if (!self.progress) self.progress.emplace("blocks", total);
        self.progress->advance_to(blocks);
    }
};

// A store that is too damaged to be opened has one finding: why.
std::vector<std::string> findings_in(const std::string &path) {
    auto store = tarn::store::try_open(path);
    if (!store) {
        if (store.error().number() == EBADMSG) return {store.error().what()};
        throw Failure(Exit::store, store.error().what());
    }
    Findings findings;
    const uint32_t error = kel_store_check(store->c_store(), tarnbase_table_get_vft, Findings::add,
                                           Findings::show, &findings);
    if (error != 0 && error != EBADMSG) throw Failure(Exit::store, kel_error_text());
    return std::move(findings.lines);
}

void print_json(const Options &options, const std::vector<std::string> &findings) {
    Json lines = Json::array();
    for (const std::string &line : findings) lines.add(json_of_bytes(line));
    const Json report{{"path", json_of_bytes(options.path)},
                      {"sound", findings.empty()},
                      {"findings", std::move(lines)}};
    std::cout << report.dump(2) << '\n';
}

void check(const Options &options, Exit &status) {
    const std::vector<std::string> findings = findings_in(options.path);
    if (!findings.empty()) status = Exit::data;
    if (options.json) return print_json(options, findings);
    const Screen &screen = output_screen();
    for (const std::string &line : findings) std::cout << shown(line, screen) << '\n';
}

}  // namespace

void declare_store_check(cli::Command &group, Exit &status) {
    const auto options = std::make_shared<Options>();
    cli::Command &command = group.command("check", "Check a store: its files and its contents");
    command.argument("STORE", store_into(options->path), "Store to check")
        .named("-s,--store")
        .environment("TARNBASE_STORE")
        .required();
    add_json_option(command, options->json);
    command.notes =
        "Checks the checksums of all files; then each table, record, object and text, the\n"
        "order of the records, all counts, and that each block has one owner. A store that\n"
        "is sound has no output and exit status 0. Otherwise there is a line for each\n"
        "fault, with the table and the record's key where they are known, and the exit\n"
        "status is 3.\n\n"
        "Nothing is changed. Other processes may write meanwhile: what is checked is the\n"
        "last commit. A record or object that a process has made, but not yet inserted in\n"
        "a table or attached to a record, is reported as lost.\n\n"
        "Examples:\n"
        "  tarnctl store check net.store\n"
        "  tarnctl store check --json net.store";
    command.action = [options, &status] { check(*options, status); };
}

}  // namespace tarnctl
