// SPDX-License-Identifier: Apache-2.0
//
// tarnctl history: the changes of one record.
#include <fmt/core.h>

#include <algorithm>
#include <iostream>
#include <limits>
#include <memory>
#include <optional>

#include "base/argument.h"
#include "base/options.h"
#include "base/time.h"
#include "commands/command.h"
#include "listing/key_words.h"
#include "model/replica.h"
#include "terminal/pager.h"
#include "terminal/style.h"
#include "watch/author.h"
#include "watch/record_history.h"

namespace tarnctl {
namespace {

struct Options {
    std::string store;
    std::string table;
    std::vector<std::string> words;
    std::optional<Moment> since;
    std::optional<Moment> until;
    uint16_t tenant = 0;
    uint8_t source = KEL_SOURCE_DEFAULT;
    bool json = false;
};

// The record and the fields that the words name.
struct Choice {
    RecordName record;
    std::vector<std::string> fields;  // none: all

    // Leaves the chosen fields of a change. False: it has none of them.
    bool reduce(Change &change) const {
        if (fields.empty()) return true;
        if (!change.fields) change.fields = contents_of(change.record(), !change.is_gone(), true);
        std::erase_if(*change.fields, [this](const FieldChange &each) {
            const std::string_view name = each.field;
            return std::none_of(fields.begin(), fields.end(), [&](const std::string &field) {
                return name == field || (name.starts_with(field) && name[field.size()] == '[');
            });
        });
        return change.is_new() || change.is_gone() || !change.fields->empty();
    }
};

Choice choice_of(const Options &options) {
    const TableReference table = parse_table(options.table);
    const std::size_t values = std::min(key_columns(*table.table).size(), options.words.size());
    const auto end = options.words.begin() + static_cast<std::ptrdiff_t>(values);
    const std::vector<std::string> key(options.words.begin(), end);
    Choice choice{{table, key_texts(*table.table, key), options.tenant, options.source},
                  {end, options.words.end()}};
    for (const std::string &field : choice.fields) column_named(*table.table, field);
    return choice;
}

class Output {
 public:
    explicit Output(bool json) : json_(json) {}

    // Without a transaction it is the record as it was at first.
    void add(const Change &change, const kel_replica_transaction *transaction) {
        const uint64_t time = transaction != nullptr ? transaction->time : 0;
        if (json_) {
            Json line = Json::object();
            if (time != 0) line.set("time", utc_time(time));
            line.update(json_of(change));
            if (transaction != nullptr) add_author(line, *transaction);
            std::cout << line.dump() << '\n';
            return;
        }
        const std::string number =
            transaction != nullptr ? std::to_string(transaction->sequence) : "";
        std::cout << dim(fmt::format("{:>23} {:>8}", time != 0 ? iso_time(time) : "", number),
                         screen_)
                  << ' ' << line_of(change, screen_);
        if (transaction != nullptr) std::cout << author_text(*transaction, screen_);
        std::cout << '\n';
    }

 private:
    bool json_;
    const Screen &screen_ = output_screen();
};

Failure no_record(const RecordHistory &history, const RecordName &record) {
    const Instance instance = find_instance(history.store(), record.table);
    return Failure(
        Exit::difference,
        fmt::format("{} had no record `{}` of tenant {}, source {} in the time that is "
                    "kept",
                    instance.full_name(), history.key_text(), record.tenant, record.source));
}

void run(const Options &options) {
    const Choice choice = read_argument([&] { return choice_of(options); });
    const uint64_t last = options.until ? last_transaction(options.store, *options.until)
                                        : std::numeric_limits<uint64_t>::max();
    tarn::replica replica = open_replica_before(options.store, options.since);
    RecordHistory history(std::move(replica), options.store, choice.record);
    const Pager pager;
    Output output(options.json);
    bool is_known = false;
    const auto print = [&](std::optional<Change> change,
                           const kel_replica_transaction *transaction) {
        is_known = true;
        if (choice.reduce(*change)) output.add(*change, transaction);
    };
    if (std::optional<Change> row = history.present()) print(std::move(row), nullptr);
    while (std::optional<Change> change = history.next()) {
        if (history.transaction().sequence > last || !std::cout) break;
        print(std::move(change), &history.transaction());
    }
    if (!is_known) throw no_record(history, choice.record);
}

constexpr const char *footer = R"(
A line for each change, with its time, the number of its transaction and its author: +
when the record was inserted, ~ with the fields that changed, - when it was deleted. A
first line with = has the record as it was in the oldest state that is kept. After the
values of the key, FIELD names a field, or several: then only their changes are
printed. The history of a key goes on when its record is deleted and inserted again.

A store keeps its history, with times and authors, if it has a journal: `tarnctl
journal start`. Without one it has the changes since its newest checkpoint.

--json prints one object a line, as watch --json prints them.

Examples:
  tarnctl history ldap_stats ldap1.example.net bind_fail --store net.store
  tarnctl history ldap_conn ldap1.example.net --since -2h --store net.store
  tarnctl history ldap_conn ldap1.example.net --json --store net.store)";

}  // namespace

void declare_history(cli::Command &program, Exit & /*status*/) {
    const auto options = std::make_shared<Options>();
    cli::Command &command = program.command("history", "Show every change of a record");
    command
        .argument("TABLE", cli::into(options->table), "The table, or one of several as TABLE:NAME")
        .required();
    command
        .argument("KEY", cli::into(options->words),
                  "The values of the key, and then fields to show the changes of")
        .required();
    add_store_option(command, options->store);
    command.option("--since", "TIME", moment_into(options->since),
                   "Only from a time on, as 10:30 or -2h, or from a transaction");
    command.option("--until", "TIME", moment_into(options->until),
                   "Only up to a time or a transaction");
    add_tenant_option(command, options->tenant, "The record's tenant; by default 0");
    add_source_option(command, options->source, "The record's source; by default 1");
    add_json_option(command, options->json);
    command.notes = footer;
    command.action = [options] { run(*options); };
}

}  // namespace tarnctl
