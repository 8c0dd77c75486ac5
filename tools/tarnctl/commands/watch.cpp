// SPDX-License-Identifier: Apache-2.0
//
// tarnctl watch: prints changes of records as they happen.
#include <fmt/core.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>
#include <iostream>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

#include "base/options.h"
#include "base/time.h"
#include "commands/command.h"
#include "model/instance.h"
#include "terminal/style.h"
#include "watch/snapshot.h"

namespace tarnctl {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;

struct Options {
    std::string store;
    std::vector<std::string> tables;
    bool all = false;
    uint32_t interval = 500;
    uint64_t count = 0;
    double timeout = 0;
    bool no_time = false;
    bool verbose = false;
    bool json = false;
};

volatile std::sig_atomic_t stopped = 0;

// The alarm interrupts a wait that began after the last look at `stopped`.
void stop(int) {
    stopped = 1;
    alarm(1);
}

// Lets SIGINT and SIGTERM end a wait, and then the command.
void stop_on_signals() {
    struct sigaction action {};
    action.sa_handler = stop;
    for (const int signal : {SIGINT, SIGTERM, SIGALRM}) sigaction(signal, &action, nullptr);
}

void print(const Change &change, const Options &options) {
    if (options.json) {
        Json line = Json::object();
        if (!options.no_time) line.set("time", utc_time(current_time()));
        line.update(json_of(change));
        std::cout << line.dump() << std::endl;
        return;
    }
    const Screen &screen = output_screen();
    if (!options.no_time) std::cout << dim(local_time(current_time()), screen) << ' ';
    std::cout << text_of(change, screen) << std::flush;
}

class Watch {
 public:
    Watch(const Options &options, const Store &store, std::vector<TableReference> references)
        : options_(options), reader_(store, std::move(references)) {}

    // Returns false if --timeout came before --count changes.
    bool run() {
        stop_on_signals();
        last_ = reader_.read();
        say(fmt::format("watching {} records", last_.records()));
        while (!has_enough() && !pause()) look();
        return finished();
    }

 private:
    bool has_enough() const { return options_.count != 0 && seen_ >= options_.count; }

    bool finished() const {
        if (options_.verbose || isatty(STDERR_FILENO) == 1)
            std::cerr << fmt::format("tarnctl: {} change{} in {:.0f} s\n", seen_,
                                     seen_ == 1 ? "" : "s",
                                     std::chrono::duration<double>(Clock::now() - begin_).count());
        return has_enough() || !timed_out_ || options_.count == 0;
    }

    // Waits for a commit, and until the last reading is --interval ago. Returns whether to end.
    bool pause() {
        while (!is_over()) {
            const Milliseconds limit = time_left();
            const auto rest = std::chrono::ceil<Milliseconds>(next_reading_ - Clock::now());
            if (rest > Milliseconds::zero())
                sleep(limit < Milliseconds::zero() ? rest : std::min(rest, limit));
            else if (reader_.wait(limit)) return false;
        }
        return true;
    }

    static void sleep(Milliseconds length) {
        const timespec time{length.count() / 1000, length.count() % 1000 * 1'000'000};
        nanosleep(&time, nullptr);
    }

    // Until --timeout; negative: without limit.
    Milliseconds time_left() const {
        if (options_.timeout <= 0) return Milliseconds(-1);
        const auto end = begin_ + std::chrono::duration<double>(options_.timeout);
        return std::max(std::chrono::ceil<Milliseconds>(end - Clock::now()), Milliseconds::zero());
    }

    bool is_over() {
        timed_out_ = time_left() == Milliseconds::zero();
        return stopped != 0 || timed_out_;
    }

    void look() {
        next_reading_ = Clock::now() + Milliseconds(options_.interval);
        if (!reader_.has_progressed(last_)) return;
        Snapshot now = reader_.read();
        for (const Change &change : changes_between(last_, now)) {
            if (has_enough()) break;
            print(change, options_);
            ++seen_;
        }
        if (!std::cout) throw Failure(Exit::store, "standard output can't be written");
        last_ = std::move(now);
    }

    void say(const std::string &text) const {
        if (options_.verbose) std::cerr << "tarnctl: " << text << std::endl;
    }

    const Options &options_;
    SnapshotReader reader_;
    Snapshot last_;
    uint64_t seen_ = 0;
    bool timed_out_ = false;
    const Clock::time_point begin_ = Clock::now();
    Clock::time_point next_reading_ = begin_;  // not before that
};

bool run(const Options &options) {
    if (options.tables.empty() != options.all)
        throw Failure(Exit::usage, "name tables, or give --all for all of them");
    const Store store = Store::open_to_read(options.store);
    std::vector<TableReference> references;
    for (const std::string &table : options.tables) {
        references.push_back(parse_table(table));
        const TableReference &meant = references.back();
        const std::vector<Instance> held = instances(store);
        if (std::none_of(held.begin(), held.end(),
                         [&](const Instance &each) { return meant.means(each); }))
            find_instance(store, meant);
    }
    return Watch(options, store, std::move(references)).run();
}

constexpr const char *footer = R"(
A changed record is printed with ~ and its fields, old -> new, a new one with +, a
deleted one with -. Of an array only the changed elements are printed. If a store
has several tables of this type, TABLE means all of them.

The store is read when something was committed, at most every --interval
milliseconds; of several changes in between only the last one is seen. The changes
of a transaction are printed after its commit, all of them. Nobody waits for this
command, and it takes no time of the processor while nothing is committed.

--json prints one object a line: {"time", "change", "table", "tenant",
"source", "key", "fields"}, as insert --json lists them, with the time in UTC.

The exit status is 0 when a signal, --timeout or --count ends it, and 1 when
--timeout comes before --count changes.

Examples:
  tarnctl watch ldap_conn --store net.store
  tarnctl watch --all --json --interval 100 --store net.store
  tarnctl watch aaa_servers --count 1 --timeout 10 --store net.store)";

}  // namespace

void declare_watch(cli::Command &program, Exit &status) {
    const auto options = std::make_shared<Options>();
    cli::Command &command =
        program.command("watch", "Print the changes of records until interrupted");
    add_store_option(command, options->store);
    command.argument("TABLE", cli::into(options->tables), "Tables to watch");
    command.flag("--all", options->all, "Watch all tables of the store");
    command.option("--interval", "MS", cli::number_into(options->interval, 1, 3600000),
                   "Milliseconds between two readings at least, 1 to 3600000; 500 by default");
    command.option("--count", "N",
                   cli::number_into(options->count, 1, std::numeric_limits<uint64_t>::max()),
                   "End after so many changes of records");
    command.option("--timeout", "S", cli::seconds_into(options->timeout, 0.001, 1e9),
                   "End after so many seconds");
    command.flag("--no-time", options->no_time, "Leave out the time");
    command.flag("-v,--verbose", options->verbose,
                 "Print on standard error when watching begins, and the number of changes");
    add_json_option(command, options->json);
    command.notes = footer;
    command.action = [options, &status] {
        if (!run(*options)) status = Exit::difference;
    };
}

}  // namespace tarnctl
