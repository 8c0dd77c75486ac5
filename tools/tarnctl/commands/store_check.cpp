// SPDX-License-Identifier: Apache-2.0
//
// tarnctl store check: whether a store is sound.
#include "commands/store.h"

#include <fmt/core.h>

#include <algorithm>
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
    bool repair = false;
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

Json json_of(const std::vector<std::string> &findings) {
    Json lines = Json::array();
    for (const std::string &line : findings) lines.add(json_of_bytes(line));
    return lines;
}

void print_json(const Options &options, const std::vector<std::string> &findings) {
    const Json report{{"path", json_of_bytes(options.path)},
                      {"sound", findings.empty()},
                      {"findings", json_of(findings)}};
    std::cout << report.dump(2) << '\n';
}

// Mends what can be mended. What can't is found by the next check.
void mend(const std::string &path) {
    const uint32_t error = kel_store_repair(path.c_str(), tarnbase_table_get_vft);
    if (error == 0 || error == EBADMSG) return;
    const bool busy = error == ETIMEDOUT || error == EBUSY;
    throw Failure(busy ? Exit::busy : Exit::store, kel_error_text());
}

bool has(const std::vector<std::string> &lines, const std::string &line) {
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

void repair(const Options &options, Exit &status) {
    std::vector<std::string> mended = findings_in(options.path);
    mend(options.path);
    const std::vector<std::string> left = findings_in(options.path);
    std::erase_if(mended, [&](const std::string &line) { return has(left, line); });
    if (!left.empty()) status = Exit::data;
    if (options.json) {
        const Json report{{"path", json_of_bytes(options.path)},
                          {"sound", left.empty()},
                          {"mended", json_of(mended)},
                          {"findings", json_of(left)}};
        std::cout << report.dump(2) << '\n';
        return;
    }
    const Screen &screen = output_screen();
    for (const std::string &line : mended)
        std::cout << fmt::format("mended: {}\n", shown(line, screen));
    for (const std::string &line : left)
        std::cout << fmt::format("not mended: {}\n", shown(line, screen));
    if (!left.empty())
        std::cerr << fmt::format("tarnctl: `tarnctl store salvage` saves what can be read\n");
}

void check(const Options &options, Exit &status) {
    if (options.repair) return repair(options, status);
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
    add_store_argument(command, options->path, "Store to check");
    command.flag("--repair", options->repair,
                 "Mend what can be mended, as the writer, and check again");
    add_json_option(command, options->json);
    command.notes =
        "Checks the checksums of all files; then each table, record, object and text, the\n"
        "order of the records, all counts, and that each block has one owner. A store that\n"
        "is sound has no output and exit status 0. Otherwise there is a line for each\n"
        "fault, with the table and the record's key where they are known, and the exit\n"
        "status is 3.\n\n"
        "Without --repair nothing is changed. Other processes may write meanwhile: what is checked "
        "is the\n"
        "last commit. A record or object that a process has made, but not yet inserted in\n"
        "a table or attached to a record, is reported as lost. Records are counted by the\n"
        "tenant of the thread that inserts or deletes them: if a program does that with\n"
        "records of another tenant, its counts are reported.\n\n"
        "--repair mends, in one commit, counts of records by table, source and tenant; and\n"
        "memory that is lost, if there are no other faults, no program keeps memory of its\n"
        "own in the store, and no other process may write it. A checkpoint that can't be used\n"
        "is replaced if an older one and the log are whole. Files that killed processes have\n"
        "left are removed. Each line then begins with mended: or not mended:, and the exit\n"
        "status is that of the second check. `tarnctl store salvage` reads what can't be\n"
        "mended.\n\n"
        "Examples:\n"
        "  tarnctl store check net.store\n"
        "  tarnctl store check --repair net.store\n"
        "  tarnctl store check --json net.store";
    command.action = [options, &status] { check(*options, status); };
}

}  // namespace tarnctl
