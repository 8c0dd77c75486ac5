// SPDX-License-Identifier: Apache-2.0
//
// tarnctl log: the transactions of a store.
#include <fmt/core.h>

#include <iostream>
#include <limits>
#include <map>
#include <memory>
#include <optional>

#include "base/options.h"
#include "base/time.h"
#include "commands/command.h"
#include "model/replica.h"
#include "terminal/pager.h"
#include "terminal/style.h"
#include "watch/author.h"
#include "watch/feed.h"
#include "watch/rates.h"

namespace tarnctl {
namespace {

struct Options {
    std::string store;
    std::optional<Moment> since;
    std::optional<Moment> until;
    std::vector<std::string> tables;
    std::string by;
    std::string label;
    std::optional<uint64_t> shown;
    bool json = false;
};

// "+1 ~3"
std::string text_of(const Tally &tally) {
    std::string text;
    for (const auto &[mark, number] :
         {std::pair{'+', tally.inserted}, {'~', tally.changed}, {'-', tally.deleted}})
        if (number > 0) text += fmt::format(" {}{}", mark, number);
    return text;
}

using Tallies = std::map<std::string, Tally>;  // by table

Tallies tallies_of(Feed &feed) {
    Tallies found;
    feed.each_record(
        [&](const std::string &table, const Record &, uint32_t what) { found[table].count(what); });
    return found;
}

bool is_wanted(const kel_replica_transaction &transaction, const Options &options) {
    const bool is_by = options.by.empty() || options.by == program_of(transaction) ||
                       options.by == user_of(transaction) ||
                       (transaction.pid != 0 && options.by == std::to_string(transaction.pid));
    return is_by && label_of(transaction).find(options.label) != std::string_view::npos;
}

void print_text(const kel_replica_transaction &transaction, const Tallies &tallies) {
    const Screen &screen = output_screen();
    std::string tables;
    for (const auto &[table, tally] : tallies)
        tables +=
            fmt::format("{}{}{}", tables.empty() ? "" : ", ", shown(table, screen), text_of(tally));
    std::cout << dim(fmt::format("{:>23} {:>8}",
                                 transaction.time != 0 ? iso_time(transaction.time) : "",
                                 transaction.sequence),
                     screen)
              << ' ' << (tables.empty() ? "no records" : tables) << author_text(transaction, screen)
              << '\n';
}

void print_json(const kel_replica_transaction &transaction, const Tallies &tallies) {
    Json line = Json::object();
    if (transaction.time != 0) line.set("time", utc_time(transaction.time));
    add_author(line, transaction);
    Json tables = Json::object();
    for (const auto &[table, tally] : tallies)
        tables.set(
            table,
            {{"inserted", tally.inserted}, {"changed", tally.changed}, {"deleted", tally.deleted}});
    line.set("tables", tables);
    std::cout << line.dump() << '\n';
}

// Applies transactions up to the next one that is wanted. False: there is none.
bool advance(Feed &feed, const Feed::Wanted &wanted) {
    const uint64_t seen = feed.sequence();
    const tarn::replica::step step = feed.advance_to(wanted);
    if (step == tarn::replica::step::gap)
        throw Failure(Exit::difference,
                      fmt::format("{}: transactions {} to {} were removed while they were read",
                                  feed.store().path(), seen + 1, feed.sequence()));
    return step == tarn::replica::step::applied;
}

void list(const Options &options) {
    FeedOptions followed;
    for (const std::string &table : options.tables) followed.tables.push_back(parse_table(table));
    const uint64_t last = options.until ? last_transaction(options.store, *options.until)
                                        : std::numeric_limits<uint64_t>::max();
    Feed feed(open_replica_before(options.store, options.since), options.store, followed);
    const auto ends_or_is_wanted = [&](const kel_replica_transaction &transaction) {
        return transaction.sequence >= last || is_wanted(transaction, options);
    };
    const Pager pager;
    while (std::cout && feed.sequence() < last && advance(feed, ends_or_is_wanted)) {
        const kel_replica_transaction &transaction = feed.transaction();
        if (!is_wanted(transaction, options)) continue;
        const Tallies tallies = tallies_of(feed);
        // The runtime's own ones say nothing.
        if (tallies.empty() && (transaction.pid == 0 || !options.tables.empty())) continue;
        (options.json ? print_json : print_text)(transaction, tallies);
    }
}

void show(const Options &options) {
    const uint64_t number = *options.shown;
    if (number == 0) throw Failure(Exit::usage, "--show: transactions are numbered from 1");
    Feed feed(open_replica(options.store, number - 1), options.store, {});
    if (!advance(feed, [](const kel_replica_transaction &) { return true; }))
        throw Failure(Exit::difference, fmt::format("{}: its last transaction is {}", options.store,
                                                    feed.sequence()));
    const kel_replica_transaction &transaction = feed.transaction();
    const std::vector<Change> changes = feed.changes();
    if (options.json) {
        Json json = Json::object();
        if (transaction.time != 0) json.set("time", utc_time(transaction.time));
        add_author(json, transaction);
        Json list = Json::array();
        for (const Change &change : changes) list.add(json_of(change));
        json.set("changes", list);
        std::cout << json.dump(2) << '\n';
        return;
    }
    const Pager pager;
    const Screen &screen = output_screen();
    print_text(transaction, tallies_of(feed));
    for (const Change &change : changes) std::cout << text_of(change, screen);
}

void run(const Options &options) {
    if (options.shown) show(options);
    else list(options);
}

constexpr const char *footer = R"(
A line for each transaction: its time, its number, the tables of which it changed
records, with the numbers of those that it inserted (+), changed (~) and deleted (-),
and its author: the program, its process, its user and, in parentheses, what the
program has noted. --show prints one of them with its field changes.

A store keeps its transactions, with times and authors, if it has a journal: `tarnctl
journal start`. Without one it has those since its newest checkpoint.

--json prints one object a line: {"time", "transaction", "pid", "uid", "user",
"command", "label", "tables": {TABLE: {"inserted", "changed", "deleted"}}}, without
what isn't known; with --show one object with "changes", as watch --json prints them.

Examples:
  tarnctl log net.store --since -2h
  tarnctl log net.store --table ldap_conn --by tarn-ldap
  tarnctl log net.store --label slapd.log:17
  tarnctl log net.store --show 4711)";

}  // namespace

void declare_log(cli::Command &program, Exit & /*status*/) {
    const auto options = std::make_shared<Options>();
    cli::Command &command = program.command("log", "Show the transactions of a store");
    add_store_argument(command, options->store, "Store with the transactions");
    command.option("--since", "TIME", moment_into(options->since),
                   "Only from a time on, as 10:30 or -2h, or from a transaction");
    command.option("--until", "TIME", moment_into(options->until),
                   "Only up to a time or a transaction");
    command.option("-T,--table", "TABLE", cli::into(options->tables),
                   "Only those that changed records of this table; may be repeated");
    command.option("--by", "WHO", cli::into(options->by),
                   "Only those of this program, user or process");
    command.option("--label", "LABEL", cli::into(options->label),
                   "Only those whose label contains this text");
    command
        .option("--show", "NUMBER",
                cli::number_into(options->shown, 0, std::numeric_limits<uint64_t>::max() - 2),
                "Only this one, with its field changes")
        .excludes("since")
        .excludes("until")
        .excludes("table")
        .excludes("by")
        .excludes("label");
    add_json_option(command, options->json);
    command.notes = footer;
    command.action = [options] { run(*options); };
}

}  // namespace tarnctl
