// SPDX-License-Identifier: Apache-2.0
//
// tarnctl watch: prints changes of records as they happen.
#include <fmt/core.h>

#include <algorithm>
#include <chrono>
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
#include "model/replica.h"
#include "terminal/style.h"
#include "watch/author.h"
#include "watch/cursor.h"
#include "watch/feed.h"
#include "watch/stop.h"

namespace tarnctl {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;

struct Options {
    std::string store;
    std::vector<std::string> tables;
    bool all = false;
    std::vector<std::string> conditions;
    std::vector<std::string> columns;
    std::optional<Moment> from;
    std::string cursor;
    bool no_rows = false;
    uint32_t interval = 50;
    uint64_t count = 0;
    double timeout = 0;
    bool no_time = false;
    bool verbose = false;
    bool json = false;
};

// The lines on standard output, which are written in batches.
class Output {
 public:
    explicit Output(const Options &options) : options_(options) {}

    // `transaction` is null for a record as it is.
    void add(const Change &change, const kel_replica_transaction *transaction) {
        if (options_.json) {
            Json line = json_of_moment(transaction);
            line.update(json_of(change));
            if (transaction != nullptr) add_author(line, *transaction);
            end_line(line.dump());
            return;
        }
        std::string text = time_text(transaction) + line_of(change, screen_);
        if (transaction != nullptr) text += author_text(*transaction, screen_);
        end_line(text);
    }

    void add_gap(uint64_t first, uint64_t last) {
        if (options_.json) {
            Json line = json_of_moment(nullptr);
            line.set("change", "gap");
            line.set("first", first);
            line.set("last", last);
            end_line(line.dump());
        } else {
            end_line(time_text(nullptr) +
                     fmt::format("! gap: transactions {} to {} are missing", first, last));
        }
    }

    // Failure `store` if standard output can't be written.
    void flush() {
        std::cout << lines_ << std::flush;
        lines_.clear();
        if (!std::cout) throw Failure(Exit::store, "standard output can't be written");
    }

 private:
    static constexpr std::size_t most_bytes = 64 << 10;

    void end_line(const std::string &text) {
        lines_ += text;
        lines_ += '\n';
        if (lines_.size() >= most_bytes) flush();
    }

    static uint64_t moment_of(const kel_replica_transaction *transaction) {
        const bool is_known = transaction != nullptr && transaction->time != 0;
        return is_known ? transaction->time : current_time();
    }
    Json json_of_moment(const kel_replica_transaction *transaction) const {
        Json line = Json::object();
        if (!options_.no_time) line.set("time", utc_time(moment_of(transaction)));
        return line;
    }
    std::string time_text(const kel_replica_transaction *transaction) const {
        return options_.no_time ? "" : dim(local_time(moment_of(transaction)), screen_) + ' ';
    }

    const Options &options_;
    const Screen &screen_ = output_screen();
    std::string lines_;
};

class Watch {
 public:
    Watch(const Options &options, FeedOptions followed)
        : options_(options),
          followed_(std::move(followed)),
          cursor_(options.cursor),
          output_(options) {}

    // Returns false if --timeout came before --count changes.
    bool run() {
        stop_on_signals();
        begin();
        output_.flush();
        say(fmt::format("watching {} records", feed_->records()));
        while (true) {
            follow();
            output_.flush();
            cursor_.write(printed_);
            if (has_enough() || pause()) break;
        }
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

    // Opens the feed where the cursor or --from says, and prints the records as they are unless
    // they are known.
    void begin() {
        std::optional<uint64_t> seen = cursor_.read();
        if (!seen && options_.from) seen = first_transaction(options_.store, *options_.from) - 1;
        if (seen) {
            go_on_after(*seen);
        } else {
            follow_after(tarn::replica::newest);
            check_tables();
            if (!options_.no_rows) print_rows();
        }
        printed_ = feed_->sequence();
    }

    void follow_after(uint64_t sequence) {
        feed_.emplace(open_replica(options_.store, sequence), options_.store, followed_);
    }

    void go_on_after(uint64_t seen) {
        try {
            follow_after(seen);
        } catch (const Failure &failure) {
            if (failure.code() != Exit::difference) throw;
            follow_after(tarn::replica::oldest);
            resume_after_gap(seen);
        }
    }

    // Failure `difference` if the store has none of a table that was named.
    void check_tables() const {
        for (const TableReference &table : followed_.tables) {
            const std::vector<Instance> held = instances(feed_->store());
            if (std::none_of(held.begin(), held.end(),
                             [&](const Instance &each) { return table.means(each); }))
                find_instance(feed_->store(), table);
        }
    }

    void resume_after_gap(uint64_t seen) {
        output_.add_gap(seen + 1, feed_->sequence());
        print_rows();
    }

    void print_rows() {
        feed_->each_row([this](const Change &row) {
            output_.add(row, nullptr);
            return !stopped();
        });
    }

    // Prints what was committed up to now.
    void follow() {
        const Clock::time_point next = Clock::now() + Milliseconds(options_.interval);
        while (!has_enough() && !is_over()) {
            const uint64_t seen = feed_->sequence();
            const tarn::replica::step step = feed_->advance();
            if (step == tarn::replica::step::current) return;
            next_reading_ = next;
            if (step == tarn::replica::step::applied) {
                print_changes();
            } else {
                resume_after_gap(seen);
                printed_ = feed_->sequence();
            }
        }
    }

    void print_changes() {
        const std::vector<Change> changes = feed_->changes();
        for (const Change &change : changes) {
            if (has_enough()) return;
            output_.add(change, &feed_->transaction());
            ++seen_;
        }
        printed_ = feed_->sequence();
    }

    // Waits for a commit, and until the last reading is --interval ago. Returns whether to end.
    bool pause() {
        while (!is_over()) {
            const Milliseconds limit = time_left();
            const auto rest = std::chrono::ceil<Milliseconds>(next_reading_ - Clock::now());
            if (rest > Milliseconds::zero())
                sleep(limit < Milliseconds::zero() ? rest : std::min(rest, limit));
            else if (feed_->store().wait(limit)) return false;
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
        return stopped() || timed_out_;
    }

    void say(const std::string &text) const {
        if (options_.verbose) std::cerr << "tarnctl: " << text << std::endl;
    }

    const Options &options_;
    const FeedOptions followed_;
    Cursor cursor_;
    Output output_;
    std::optional<Feed> feed_;
    uint64_t seen_ = 0;     // changes
    uint64_t printed_ = 0;  // the last transaction whose changes were all printed
    bool timed_out_ = false;
    const Clock::time_point begin_ = Clock::now();
    Clock::time_point next_reading_ = begin_;  // not before that
};

bool run(const Options &options) {
    if (options.tables.empty() != options.all)
        throw Failure(Exit::usage, "name tables, or give --all for all of them");
    FeedOptions followed{{}, options.conditions, options.columns};
    for (const std::string &table : options.tables) followed.tables.push_back(parse_table(table));
    return Watch(options, std::move(followed)).run();
}

constexpr const char *footer = R"(
The records as they are come first, with =, then each change exactly once and in the
order of the commits, a line each. A changed record is printed with ~ and its fields,
old -> new, a new one with +, a deleted one with -. Of an array only the changed
elements are printed. If a store has several tables of this type, TABLE means all of
them. The changes of a transaction are ordered by table; of a table the deleted
records come first, then the others, both in key order.

--where and --columns are those of find: a change is printed if the record meets the
conditions before it or after it, and if one of the columns has changed.

With --cursor, FILE says which transactions were printed; if it exists, watching goes
on after these. --from begins with a transaction of the past. Both leave out the
records as they are. If the store's log doesn't contain a transaction any more, a line with !
names those that are missing, and the records as they are then follow again. The log
of a store is removed when a checkpoint contains it, unless the store keeps a journal.

The author of a change is printed if the store keeps a journal. Reading takes place
when something was committed, at most every --interval milliseconds. Nobody waits for
this command, it needs permission to read only, and it takes no time of the processor
while nothing is committed.

--json prints one object a line: {"time", "change", "table", "tenant",
"source", "key", "fields", "transaction"}, as insert --json lists them, with the time
in UTC and, if the author is known, "pid", "uid", "command" and "label".

The exit status is 0 when a signal, --timeout or --count ends it, and 1 when
--timeout comes before --count changes.

Examples:
  tarnctl watch ldap_conn --store net.store
  tarnctl watch ldap_conn --where num_conns=0 --columns num_conns -s net.store
  tarnctl watch --all --json --cursor seen --store net.store
  tarnctl watch aaa_servers --count 1 --timeout 10 --store net.store)";

}  // namespace

void declare_watch(cli::Command &program, Exit &status) {
    const auto options = std::make_shared<Options>();
    cli::Command &command =
        program.command("watch", "Print the changes of records until interrupted");
    add_store_option(command, options->store);
    command.argument("TABLE", cli::into(options->tables), "Tables to watch");
    command.flag("--all", options->all, "Watch all tables of the store");
    command.option("--where", "CONDITION", cli::into(options->conditions),
                   "Only records that meet it, as find takes it; may be repeated");
    command.option("--columns", "NAMES", cli::list_into(options->columns),
                   "Only changes of these fields, separated by commas");
    command.option("--from", "TIME", moment_into(options->from),
                   "Begin with the transaction of a number, or with the first one after a time, as "
                   "10:30 or -2h");
    command.option("--cursor", "FILE", cli::into(options->cursor),
                   "Go on after the transactions that FILE names, and note there what is printed");
    command.flag("--no-rows", options->no_rows, "Leave out the records as they are");
    command.option("--interval", "MS", cli::number_into(options->interval, 1, 3600000),
                   "Milliseconds between two readings at least, 1 to 3600000; 50 by default");
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
