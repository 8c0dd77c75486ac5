// SPDX-License-Identifier: Apache-2.0
//
// tarnctl top: the changes a second of a store, live.
#include <fmt/core.h>

#include <chrono>
#include <iostream>
#include <limits>
#include <memory>
#include <sstream>

#include "base/options.h"
#include "base/time.h"
#include "commands/command.h"
#include "json/document.h"
#include "model/replica.h"
#include "terminal/grid.h"
#include "watch/feed.h"
#include "watch/rates.h"
#include "watch/stop.h"

namespace tarnctl {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;

constexpr std::size_t most_records = 10;

struct Options {
    std::string store;
    double interval = 1;
    uint64_t count = 0;
    bool verbose = false;
    bool json = false;
};

class Top {
 public:
    explicit Top(const Options &options)
        : options_(options),
          feed_(open_replica(options.store, tarn::replica::newest), options.store, {}) {}

    void run() {
        for (uint64_t i = 0; options_.count == 0 || i < options_.count; ++i) {
            count();
            print();
            if (stopped()) return;
            rates_.clear();
        }
    }

 private:
    // Counts for the time of an interval.
    void count() {
        begin_ = Clock::now();
        const auto end = begin_ + std::chrono::duration<double>(options_.interval);
        while (!stopped()) {
            const tarn::replica::step step = feed_.advance();
            if (step == tarn::replica::step::applied) add();
            const auto rest = std::chrono::ceil<Milliseconds>(end - Clock::now());
            if (rest <= Milliseconds::zero()) return;
            if (step == tarn::replica::step::current) feed_.store().wait(rest);
        }
    }

    void add() {
        rates_.count_transaction();
        feed_.each_record([this](const std::string &table, const Record &record, uint32_t what) {
            rates_.count(table, record, what);
        });
    }

    void print() const {
        const double seconds = std::chrono::duration<double>(Clock::now() - begin_).count();
        if (options_.json) print_json(seconds);
        else print_text(seconds);
        std::cout.flush();
        if (!std::cout) throw Failure(Exit::store, "standard output can't be written");
    }

    void print_json(double seconds) const {
        Json tables = Json::object();
        for (const auto &[name, tally] : rates_.tables())
            tables.set(name, {{"inserted", tally.inserted},
                              {"changed", tally.changed},
                              {"deleted", tally.deleted}});
        Json records = Json::array();
        for (const auto &[name, changes] : rates_.busiest(most_records))
            records.add({{"record", name}, {"changes", changes}});
        const Json line{{"time", utc_time(current_time())},
                        {"seconds", seconds},
                        {"transactions", rates_.transactions()},
                        {"tables", std::move(tables)},
                        {"records", std::move(records)}};
        std::cout << line.dump() << '\n';
    }

    void print_text(double seconds) const {
        const Screen &screen = output_screen();
        const auto rate = [&](uint64_t number) {
            return fmt::format("{:.1f}", static_cast<double>(number) / seconds);
        };
        std::ostringstream out;
        out << fmt::format("{}  {} transactions a second\n\n", local_time(current_time()),
                           rate(rates_.transactions()));
        Grid tables({{"changes/s", true},
                     {"inserted/s", true},
                     {"changed/s", true},
                     {"deleted/s", true},
                     {"table"}});
        for (const auto &[name, tally] : rates_.tables())
            tables.add({rate(tally.all()), rate(tally.inserted), rate(tally.changed),
                        rate(tally.deleted), name});
        tables.print(out, screen);
        Grid records({{"changes/s", true}, {"record"}});
        for (const auto &[name, changes] : rates_.busiest(most_records))
            records.add({rate(changes), name});
        if (records.rows() > 0) {
            out << '\n';
            records.print(out, screen);
        }
        constexpr const char *clear = "\x1b[H\x1b[2J";
        std::cout << (screen.is_terminal ? clear : "") << out.str()
                  << (screen.is_terminal ? "" : "\n");
    }

    const Options &options_;
    Feed feed_;
    Rates rates_;
    Clock::time_point begin_;
};

void run(const Options &options) {
    stop_on_signals();
    Top top(options);
    if (options.verbose) std::cerr << "tarnctl: counting" << std::endl;
    top.run();
}

constexpr const char *footer = R"(
After each interval: the transactions, and the inserted, changed and deleted records
of each table that had any, a second; and the ten records that changed most often. On
a terminal they take the place of those before.

It ends after --count intervals, or with SIGINT or SIGTERM, after which it prints what
it has counted since. Nobody waits for this command, and it needs permission to read
only.

--json prints one object a line, with numbers and not rates: {"time", "seconds",
"transactions", "tables": {TABLE: {"inserted", "changed", "deleted"}}, "records":
[{"record", "changes"}]}.

Examples:
  tarnctl top net.store
  tarnctl top net.store --interval 10 --count 6 --json)";

}  // namespace

void declare_top(cli::Command &program, Exit & /*status*/) {
    const auto options = std::make_shared<Options>();
    cli::Command &command = program.command("top", "Show the changes a second, live");
    add_store_argument(command, options->store, "Store to observe");
    command.option("--interval", "S", cli::seconds_into(options->interval, 0.01, 3600),
                   "Seconds to count for; 1 by default");
    command.option("--count", "N",
                   cli::number_into(options->count, 1, std::numeric_limits<uint64_t>::max()),
                   "End after so many intervals");
    command.flag("-v,--verbose", options->verbose, "Print on standard error when counting begins");
    add_json_option(command, options->json);
    command.notes = footer;
    command.action = [options] { run(*options); };
}

}  // namespace tarnctl
