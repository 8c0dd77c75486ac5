// SPDX-License-Identifier: Apache-2.0
#include "commands/writing.h"

#include <fmt/core.h>

#include <algorithm>
#include <iostream>
#include <iterator>
#include <memory>
#include <utility>

#include "base/argument.h"
#include "base/options.h"
#include "cli/parser.h"
#include "commands/command.h"
#include "edit/batch.h"
#include "edit/change.h"
#include "edit/editor.h"

namespace tarnctl {
namespace {

constexpr const char *standard_input = "-";

struct Options {
    std::string store;
    OrderWords words;
    std::string batch;
    double wait = usual_wait;
    bool dry_run = false;
    bool verbose = false;
    bool json = false;
};

// Reads the lines of a batch: the commands insert, set and delete with their arguments and the
// options that choose records.
class LineParser {
 public:
    LineParser() {
        add("insert", Verb::insert);
        add("set", Verb::set);
        add("delete", Verb::erase);
        parser_.emplace(lines_);
    }

    Order parse(const BatchLine &line) {
        const std::string &name = line.words.front();
        if (verbs_.count(name) == 0)
            throw Failure(Exit::data,
                          fmt::format("expected insert, set or delete, not `{}`", name));
        words_ = {};
        try {
            parser_->parse(line.words);
        } catch (const cli::LineError &error) {
            throw Failure(Exit::data, error.what());
        }
        return orders_.read(verbs_.at(name), words_);
    }

 private:
    void add(const std::string &name, Verb verb) {
        add_order_options(lines_.command(name, ""), verb, words_);
        verbs_[name] = verb;
    }

    OrderWords words_;
    cli::Command lines_{"batch", ""};
    std::optional<cli::Parser> parser_;
    std::map<std::string, Verb> verbs_;
    OrderReader orders_;
};

// Applies the options of the command line to the lines whose command has them.
void add_common(const OrderWords &words, Order &order) {
    order.create = order.create || words.create;
    order.or_update = order.or_update || words.or_update;
    order.if_exists = order.if_exists || (words.if_exists && order.verb == Verb::set);
}

std::vector<Order> orders_of_batch(const std::string &path, const OrderWords &common) {
    LineParser parser;
    std::vector<Order> orders;
    for (const BatchLine &line : read_batch(path)) {
        try {
            orders.push_back(parser.parse(line));
        } catch (const Failure &failure) {
            throw Failure(Exit::data, fmt::format("{}: {}", line.place, failure.what()));
        }
        orders.back().place = line.place;
        add_common(common, orders.back());
    }
    return orders;
}

std::vector<Order> orders_of(Verb verb, const Options &options) {
    const bool has_words = !options.words.table.empty() || options.words.all ||
                           !options.words.where.empty() || options.words.tenant ||
                           options.words.source;
    if (!options.batch.empty()) {
        if (has_words)
            throw Failure(Exit::usage,
                          "--batch takes all orders from its file; give no table and "
                          "no records with it");
        return orders_of_batch(options.batch, options.words);
    }
    if (options.words.table == standard_input && options.words.words.empty())
        return orders_of_batch(standard_input, options.words);
    if (options.words.table.empty())
        throw Failure(Exit::usage, "TABLE is missing; give a table, or - or --batch for a batch");
    std::vector<Order> orders;
    orders.push_back(read_argument([&] { return OrderReader().read(verb, options.words); }));
    return orders;
}

std::string counted(uint64_t count) {
    return fmt::format("{} record{}", count, count == 1 ? "" : "s");
}

std::string summary(const Counts &counts) {
    std::string text;
    const auto add = [&](uint64_t count, const char *what) {
        if (count > 0)
            text += fmt::format("{}{} {}", text.empty() ? "" : ", ", counted(count), what);
    };
    add(counts.inserted, "inserted");
    add(counts.changed, "changed");
    add(counts.deleted, "deleted");
    return text.empty() ? "no record changed" : text;
}

// The change of a single record isn't counted.
bool is_counted(const std::vector<Order> &orders, const Options &options) {
    return options.dry_run || orders.size() != 1 || orders.front().many;
}

void report_made_tables(const Editor &editor, bool dry_run) {
    for (const std::string &table : editor.made_tables())
        std::cerr << fmt::format("tarnctl: the store holds no table `{}`; it {} made\n",
                                 shown(table, output_screen()), dry_run ? "would be" : "was");
}

void print_json(const Editor &editor, const Options &options, Json changes) {
    const Counts &counts = editor.counts();
    const Json json = {{"dry_run", options.dry_run},     {"inserted", counts.inserted},
                       {"changed", counts.changed},      {"deleted", counts.deleted},
                       {"tables", editor.made_tables()}, {"changes", std::move(changes)}};
    std::cout << json.dump(2) << '\n';
}

void run(Verb verb, const Options &options) {
    const std::vector<Order> orders = orders_of(verb, options);
    const Store store = options.dry_run ? Store::copy_of(options.store)
                                        : Store::open_to_write(options.store, options.wait);
    // Printed after the commit.
    std::string text;
    Json changes = Json::array();
    Editor::Listener listener;
    if (options.json) listener = [&](const Change &change) { changes.add(json_of(change)); };
    else if (options.dry_run || options.verbose)
        listener = [&](const Change &change) { text += text_of(change, output_screen()); };
    Editor editor(store, listener);
    editor.run(orders);
    report_made_tables(editor, options.dry_run);
    if (options.json) {
        print_json(editor, options, std::move(changes));
        return;
    }
    std::cout << text;
    if (is_counted(orders, options))
        std::cout << summary(editor.counts()) << (options.dry_run ? " (dry run)" : "") << '\n';
}

void add_words(cli::Command &command, Verb verb, OrderWords &words) {
    const char *type = verb == Verb::insert ? "FIELD=VALUE"
                       : verb == Verb::set  ? "KEY|FIELD=VALUE"
                                            : "KEY";
    const char *text =
        verb == Verb::insert
            ? "Fields of the record, those of its key among them; others are 0 or empty"
        : verb == Verb::set
            ? "Values of the record's key in the order of the key, then the fields to set"
            : "Values of the record's key in the order of the key, or FIELD=VALUE";
    command.argument(type, cli::into(words.words), text);
}

}  // namespace

void add_order_options(cli::Command &command, Verb verb, OrderWords &words) {
    command.argument("TABLE", cli::into(words.table), "Table; - reads a batch from standard input");
    add_words(command, verb, words);
    const bool choose = verb != Verb::insert;
    if (verb == Verb::insert) {
        command.flag("--create", words.create, "Make the table if the store doesn't hold it");
        command.flag("--or-update", words.or_update,
                     "Set the fields of the record if there is one with this key");
    }
    if (verb == Verb::set)
        command.flag("--if-exists", words.if_exists, "Do nothing if there is no such record");
    if (choose) {
        command.option("-w,--where", "CONDITION", cli::into(words.where),
                       "Instead of a key: all records that meet the condition, as FIELD=VALUE or "
                       "with another sign of find; may be repeated, and all must hold");
        command.flag("--all", words.all, "Instead of a key: all records of the table");
    }
    const std::string many = choose ? "; with --where or --all any, unless given" : "";
    add_tenant_option(command, words.tenant, "Tenant of the record; 0 by default" + many);
    add_source_option(command, words.source, "Source of the record; 1 by default" + many);
}

void declare_writing(cli::Command &program, const WritingCommand &what) {
    const auto options = std::make_shared<Options>();
    cli::Command &command = program.command(what.name, what.description);
    add_store_option(command, options->store);
    add_order_options(command, what.verb, options->words);
    command.option("--batch", "FILE", cli::into(options->batch),
                   "Read what is to be done from a file, or from standard input if it is -: an "
                   "insert, set or delete a line, all in one transaction");
    command.flag("-n,--dry-run", options->dry_run,
                 "Do it in a copy of the store in memory and show the difference; the store "
                 "stays as it is, byte for byte");
    add_wait_option(command, options->wait);
    command.flag("-v,--verbose", options->verbose, "Show what was changed, field by field");
    add_json_option(command, options->json);
    command.notes = what.footer;
    command.action = [options, verb = what.verb] { run(verb, *options); };
}

}  // namespace tarnctl
