// SPDX-License-Identifier: Apache-2.0
//
// tarnctl diff: the differences of two stores, or of a store and an export.
#include <fmt/core.h>

#include <algorithm>
#include <iostream>
#include <memory>

#include "base/options.h"
#include "commands/command.h"
#include "compare/comparison.h"
#include "model/json.h"
#include "tarnbase/tarn/trace.hpp"
#include "terminal/pager.h"
#include "terminal/style.h"

namespace tarnctl {
namespace {

constexpr const char *footer = R"(
Each side is a store or a document that export wrote (- for one on standard
input). With --at, B may be left out: then it is the same store. Type and name
identify a table; tenant, key and source a record. The listing has a line for each
record, + for one that only B has, - for one that only A has, ~ for one that
differs, and below it a line for each field.

--json prints one object: {"a", "b", "same", "tables": [{"change", "table"}],
"changes": [...], "counts": {"inserted", "changed", "deleted"}}, with changes in
the form of set --dry-run --json; they are those that turn A into B.

Examples:
  tarnctl diff old.store net.store
  tarnctl diff --brief net.store net.frames
  tarnctl diff net.store --at -2h --at -1h
  tarnctl export -s net.store | tarnctl diff backup.store - --ignore minute)";

struct Options {
    std::string a;
    std::string b;
    std::vector<Moment> at;
    std::vector<std::string> tables;
    std::vector<std::string> ignored;
    bool brief = false;
    bool json = false;
};

// Prints the differences as JSON, one by one.
class JsonListing {
 public:
    JsonListing(const std::string &a, const std::string &b) {
        std::cout << fmt::format("{{\"a\":{},\"b\":{},\"changes\":[", text(a), text(b));
    }
    void table(const Instance &instance, bool added) {
        tables_.add({{"change", added ? "inserted" : "deleted"},
                     {"table", json_of_bytes(instance.full_name())}});
    }
    void record(const Change &change) {
        ++(change.is_new() ? inserted_ : change.is_gone() ? deleted_ : changed_);
        std::cout << (first_ ? "\n" : ",\n") << json_of(change).dump();
        first_ = false;
    }
    void end(bool differ) const {
        const Json counts = {{"inserted", inserted_}, {"changed", changed_}, {"deleted", deleted_}};
        std::cout << fmt::format("],\"tables\":{},\"counts\":{},\"same\":{}}}\n", tables_.dump(),
                                 counts.dump(), !differ);
    }

 private:
    static std::string text(const std::string &name) { return json_of_bytes(name).dump(); }

    Json tables_ = Json::array();
    bool first_ = true;
    uint64_t inserted_ = 0;
    uint64_t changed_ = 0;
    uint64_t deleted_ = 0;
};

class TextListing {
 public:
    TextListing(std::string a, std::string b) : a_(std::move(a)), b_(std::move(b)) {}

    void table(const Instance &instance, bool added) {
        begin();
        const Style style = added ? green : red;
        std::cout << style(fmt::format("{} table {}", added ? "+" : "-",
                                       shown(instance.full_name(), screen_)),
                           screen_)
                  << '\n';
    }
    void record(const Change &change) {
        begin();
        std::cout << text_of(change, screen_);
    }

 private:
    // Two sides that are the same print nothing.
    void begin() {
        if (!std::exchange(begun_, true))
            std::cout << bold(fmt::format("--- {}\n+++ {}", shown(a_, screen_), shown(b_, screen_)),
                              screen_)
                      << '\n';
    }

    std::string a_;
    std::string b_;
    const Screen &screen_ = output_screen();
    bool begun_ = false;
};

// Each must begin with a field of some table.
void check_ignored(const std::vector<std::string> &fields) {
    std::vector<std::string_view> names{"pending"};
    for (const Table *table : catalogue.tables) {
        for (const Field &field : table->type->fields) names.push_back(field.name);
    }
    for (const std::string &field : fields) {
        const std::string_view first =
            std::string_view(field).substr(0, field.find_first_of(".[("));
        if (first == "state" || first == "key_state") continue;
        if (std::find(names.begin(), names.end(), first) == names.end())
            throw no_such(Exit::usage, "field", first, names);
    }
}

void warn_of_unknown(const Side &side) {
    std::size_t unknown = 0;
    instances(side.store, &unknown);
    if (unknown > 0)
        std::cerr << fmt::format(
            "tarnctl: {}: {} tables of types that this program doesn't have "
            "aren't compared\n",
            side.name, unknown);
}

bool brief(const Side &a, const Side &b, const CompareOptions &how, bool json) {
    const bool differ = compare(a, b, how, {[](const Instance &, bool) {}, [](const Change &) {}});
    if (json)
        std::cout << Json({{"a", json_of_bytes(a.name)},
                           {"b", json_of_bytes(b.name)},
                           {"same", !differ}})
                         .dump()
                  << '\n';
    else if (differ) std::cout << fmt::format("{} and {} differ\n", a.name, b.name);
    return differ;
}

bool list(const Side &a, const Side &b, const CompareOptions &how, bool json) {
    if (!json) {
        const Pager pager;
        TextListing listing(a.name, b.name);
        return compare(
            a, b, how,
            {[&](const Instance &instance, bool added) { listing.table(instance, added); },
             [&](const Change &change) { listing.record(change); }});
    }
    JsonListing listing(a.name, b.name);
    const bool differ =
        compare(a, b, how,
                {[&](const Instance &instance, bool added) { listing.table(instance, added); },
                 [&](const Change &change) { listing.record(change); }});
    listing.end(differ);
    return differ;
}

// The first moment is of A and the second of B, which is A if it isn't named.
std::pair<SideName, SideName> sides_of(const Options &options) {
    if (options.b.empty() && options.at.empty())
        throw Failure(Exit::usage, "B is missing; with --at it may be left out");
    if (options.at.size() > 2) throw Failure(Exit::usage, "--at is given more than twice");
    std::pair<SideName, SideName> sides{{options.a, {}},
                                        {options.b.empty() ? options.a : options.b, {}}};
    if (!options.at.empty()) sides.first.at = options.at.front();
    if (options.at.size() == 2) sides.second.at = options.at.back();
    return sides;
}

void run(const Options &options, Exit &status) {
    const tarn::quiet_scope quiet;
    CompareOptions how{{}, options.ignored, options.brief};
    for (const std::string &table : options.tables) how.tables.push_back(parse_table(table));
    check_ignored(options.ignored);
    if (options.a == "-" && options.b == "-")
        throw Failure(Exit::usage, "standard input can be one side only");
    const auto [of_a, of_b] = sides_of(options);
    const auto [a, b] = open_sides(of_a, of_b, how.tables);
    warn_of_unknown(a);
    warn_of_unknown(b);
    const bool differ =
        options.brief ? brief(a, b, how, options.json) : list(a, b, how, options.json);
    if (differ) status = Exit::difference;
}

}  // namespace

void declare_diff(cli::Command &program, Exit &status) {
    const auto options = std::make_shared<Options>();
    cli::Command &command = program.command("diff", "Compare two stores, or a store and an export");
    command.argument("A", cli::into(options->a), "Store or export").required();
    command.argument("B", cli::into(options->b), "What it is compared with");
    command.option("--at", "TIME", moments_into(options->at),
                   "A as it was at a time, as 10:30 or -2h, or after the transaction of a number; "
                   "given again, B");
    command.option("-T,--table", "TABLE", cli::into(options->tables),
                   "Compare only this table; may be given several times");
    command.option("--ignore", "FIELD", cli::into(options->ignored),
                   "Ignore this field and the fields inside it; may be given several times");
    command.flag("-q,--brief", options->brief, "Only print whether they differ");
    add_json_option(command, options->json);
    command.notes = footer;
    command.action = [options, &status] { run(*options, status); };
}

}  // namespace tarnctl
