// SPDX-License-Identifier: Apache-2.0
//
// tarnctl journal: whether a store keeps its log and says who committed, and how durable commits
// are.
#include <fmt/core.h>

#include <cerrno>
#include <charconv>
#include <iostream>
#include <map>
#include <memory>
#include <optional>

#include "base/options.h"
#include "base/size.h"
#include "base/time.h"
#include "commands/command.h"
#include "json/document.h"
#include "model/store.h"
#include "tarnbase/journal.h"

namespace tarnctl {
namespace {

struct Options {
    std::string store;
    std::string keep;
    std::string keep_for;
    std::string durability;
    std::optional<uint32_t> full_disk;
    bool compress = false;
    bool no_compress = false;
    bool json = false;
};

Failure wrong(const char *option, const std::string &text, const char *expected) {
    return Failure(Exit::usage, fmt::format("{} `{}`: expected {}", option, text, expected));
}

// A whole number and what follows it.
std::optional<uint64_t> leading_number(std::string_view text, std::string_view &rest) {
    uint64_t number = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc()) return std::nullopt;
    rest = {stop, static_cast<std::size_t>(end - stop)};
    return number;
}

uint64_t size_of(const std::string &text) {
    if (text == "all") return 0;
    const auto size = parse_size(text);
    if (!size || *size == 0) throw wrong("--keep", text, "a size such as 512M, or `all`");
    return *size;
}

uint64_t seconds_of(const std::string &text) {
    if (text == "ever") return 0;
    constexpr std::pair<std::string_view, uint64_t> units[] = {
        {"s", 1}, {"min", 60}, {"h", 3600}, {"d", 86400}};
    std::string_view unit;
    const auto number = leading_number(text, unit);
    constexpr uint64_t most = 1'000'000;
    for (const auto &[name, seconds] : units) {
        if (number && *number > 0 && *number <= most && unit == name) return *number * seconds;
    }
    throw wrong("--keep-for", text, "a number with s, min, h or d, such as 30d, or `ever`");
}

void set_durability(const std::string &text, kel_journal_settings &settings) {
    std::string_view unit;
    const auto number = leading_number(text, unit);
    settings.interval = 0;
    if (text == "process") {
        settings.durability = KEL_DURABILITY_PROCESS;
    } else if (text == "commit") {
        settings.durability = KEL_DURABILITY_COMMIT;
    } else if (number && *number > 0 && *number <= 3'600'000 && unit == "ms") {
        settings.durability = KEL_DURABILITY_INTERVAL;
        settings.interval = static_cast<uint32_t>(*number);
    } else {
        throw wrong("--durability", text,
                    "`process`, `commit`, or milliseconds up to an hour, such as 100ms");
    }
}

kel_journal_description journal_of(const Store &store) {
    kel_journal_description journal{};
    if (kel_store_describe_journal(store.store(), &journal) != 0)
        throw Failure(Exit::store, kel_error_text());
    return journal;
}

kel_journal_compression compression_of(const Store &store) {
    kel_journal_compression compression{};
    if (kel_store_describe_compression(store.store(), &compression) != 0)
        throw Failure(Exit::store, kel_error_text());
    return compression;
}

void apply(const Options &options, kel_journal_settings &settings) {
    if (!options.keep.empty()) settings.keep_bytes = size_of(options.keep);
    if (!options.keep_for.empty()) settings.keep_seconds = seconds_of(options.keep_for);
    if (!options.durability.empty()) set_durability(options.durability, settings);
    if (options.full_disk) settings.full_disk = *options.full_disk;
}

uint32_t mode(const Options &options, uint32_t before, bool enabled) {
    if (!enabled) return KEL_JOURNAL_OFF;
    if (options.compress) return KEL_JOURNAL_COMPRESSED;
    return options.no_compress || before == KEL_JOURNAL_OFF ? KEL_JOURNAL_ON : before;
}

void set(const Options &options, bool enabled) {
    kel_journal_settings settings{};
    apply(options, settings);  // a wrong option is noticed before the store is opened
    const Store store = Store::open_to_read(options.store);
    settings = journal_of(store).settings;
    settings.enabled = mode(options, settings.enabled, enabled);
    apply(options, settings);
    const uint32_t status = kel_store_set_journal(store.store(), &settings);
    if (status != 0) throw Failure(status == EBUSY ? Exit::busy : Exit::store, kel_error_text());
}

std::string durability_text(const kel_journal_settings &settings) {
    if (settings.durability == KEL_DURABILITY_COMMIT) return "commit";
    if (settings.durability == KEL_DURABILITY_PROCESS) return "process";
    return fmt::format("{}ms", settings.interval);
}

const char *full_disk_text(const kel_journal_settings &settings) {
    return settings.full_disk == KEL_FULL_DISK_GAP ? "gap" : "refuse";
}

std::string seconds_text(uint64_t seconds) {
    if (seconds % 86400 == 0) return fmt::format("{}d", seconds / 86400);
    if (seconds % 3600 == 0) return fmt::format("{}h", seconds / 3600);
    if (seconds % 60 == 0) return fmt::format("{}min", seconds / 60);
    return fmt::format("{}s", seconds);
}

void print_json(const kel_journal_description &journal,
                const kel_journal_compression &compression) {
    const kel_journal_settings &settings = journal.settings;
    Json json{{"enabled", settings.enabled != KEL_JOURNAL_OFF},
              {"compress", settings.enabled == KEL_JOURNAL_COMPRESSED},
              {"durability", durability_text(settings)},
              {"full_disk", full_disk_text(settings)},
              {"keep_bytes", settings.keep_bytes},
              {"keep_seconds", settings.keep_seconds},
              {"begin", journal.begin},
              {"begin_time", utc_time(journal.begin_time)},
              {"end", journal.end},
              {"durable", journal.durable},
              {"bytes", journal.bytes},
              {"checkpoints", journal.checkpoints},
              {"compressed_segments", compression.segments},
              {"compressed_bytes", compression.bytes},
              {"compressed_plain_bytes", compression.plain_bytes}};
    if (journal.gap != 0) {
        json.set("gap", journal.gap);
        json.set("gap_time", utc_time(journal.gap_time));
    }
    std::cout << json.dump(2) << '\n';
}

const char *mode_text(const kel_journal_settings &settings) {
    if (settings.enabled == KEL_JOURNAL_OFF) return "off";
    return settings.enabled == KEL_JOURNAL_COMPRESSED ? "on, compressed" : "on";
}

void print_text(const kel_journal_description &journal,
                const kel_journal_compression &compression) {
    const kel_journal_settings &settings = journal.settings;
    const auto line = [](std::string_view name, const std::string &value) {
        std::cout << fmt::format("{:<14}{}\n", name, value);
    };
    line("journal", mode_text(settings));
    line(
        "keeps",
        fmt::format("{}, for {}", settings.keep_bytes == 0 ? "all" : size_text(settings.keep_bytes),
                    settings.keep_seconds == 0 ? "ever" : seconds_text(settings.keep_seconds)));
    line("durability", durability_text(settings));
    line("full disk", full_disk_text(settings));
    line("begins", fmt::format("{}, {} ago, at position {}", local_time(journal.begin_time),
                               age(journal.begin_time), journal.begin));
    line("ends", fmt::format("at position {}; on the disk up to {}", journal.end, journal.durable));
    line("takes", fmt::format("{} in the log and {} checkpoint{}", size_text(journal.bytes),
                              journal.checkpoints, journal.checkpoints == 1 ? "" : "s"));
    if (compression.segments != 0)
        line("compressed",
             fmt::format("{} file{} of the log, from {} to {}", compression.segments,
                         compression.segments == 1 ? "" : "s", size_text(compression.plain_bytes),
                         size_text(compression.bytes)));
    if (journal.gap != 0)
        line("gap", fmt::format("a full disk has cost what was before position {}, {}", journal.gap,
                                local_time(journal.gap_time)));
}

void show(const Options &options) {
    const Store store = Store::open_to_read(options.store);
    const auto print = options.json ? print_json : print_text;
    print(journal_of(store), compression_of(store));
}

cli::Command &declare(cli::Command &group, const char *name, const char *summary,
                      const std::shared_ptr<Options> &options) {
    cli::Command &command = group.command(name, summary);
    command.argument("STORE", store_into(options->store), "Store with the journal")
        .named("-s,--store")
        .environment("TARNBASE_STORE")
        .required();
    return command;
}

void declare_start(cli::Command &group) {
    const auto options = std::make_shared<Options>();
    cli::Command &command =
        declare(group, "start", "Keep the log with its authors, or change how", options);
    command.option("--keep", "SIZE", cli::into(options->keep),
                   "Disk space of what is kept, such as 512M; `all` by default");
    command.option("--keep-for", "TIME", cli::into(options->keep_for),
                   "How long it is kept, such as 12h or 30d; `ever` by default");
    command.option("--durability", "WHAT", cli::into(options->durability),
                   "What survives a power loss: `process`, the default: what the kernel has "
                   "written; `100ms`: all but the last 100 milliseconds; `commit`: each commit");
    const std::map<std::string, uint32_t> full_disk = {{"refuse", KEL_FULL_DISK_REFUSE},
                                                       {"gap", KEL_FULL_DISK_GAP}};
    command.option("--full-disk", "WHAT", cli::one_of(full_disk, options->full_disk),
                   "`refuse` commits, the default, or give up what was kept: `gap`");
    command
        .flag("--compress", options->compress,
              "Compress what only the journal needs of the log, when a checkpoint is made")
        .excludes("no-compress");
    command.flag("--no-compress", options->no_compress,
                 "Leave the log as it is written, the default; what is compressed stays so");
    command.notes =
        "Options that aren't given stay as they are. Programs that use the store follow with\n"
        "their next transaction.\n\n"
        "Examples:\n"
        "  tarnctl journal start --keep 2G --keep-for 30d --compress net.store\n"
        "  tarnctl journal start --durability commit net.store";
    command.action = [options] { set(*options, true); };
}

void declare_stop(cli::Command &group) {
    const auto options = std::make_shared<Options>();
    cli::Command &command =
        declare(group, "stop", "Keep no log any more, and remove what was kept", options);
    command.option("--durability", "WHAT", cli::into(options->durability),
                   "As of `journal start`; unchanged by default");
    command.notes =
        "Example:\n"
        "  tarnctl journal stop --durability process net.store";
    command.action = [options] { set(*options, false); };
}

void declare_status(cli::Command &group) {
    const auto options = std::make_shared<Options>();
    cli::Command &command = declare(group, "status", "Show the settings and what is kept", options);
    add_json_option(command, options->json);
    command.notes =
        "Positions count bytes of the log.\n\n"
        "Examples:\n"
        "  tarnctl journal status net.store\n"
        "  tarnctl journal status --json net.store";
    command.action = [options] { show(*options); };
}

}  // namespace

void declare_journal(cli::Command &program, Exit &) {
    cli::Command &group =
        program.command("journal", "Keep the log of a store, and make commits durable");
    group.notes = "Example:\n  tarnctl journal start --keep 2G net.store";
    declare_start(group);
    declare_stop(group);
    declare_status(group);
}

}  // namespace tarnctl
