// SPDX-License-Identifier: Apache-2.0
//
// tarnctl get: one record by its key.
#include <fmt/core.h>

#include <memory>
#include <optional>

#include "base/argument.h"
#include "base/options.h"
#include "cli/suggestion.h"
#include "commands/command.h"
#include "listing/key_words.h"
#include "listing/options.h"

namespace tarnctl {
namespace {

struct Options {
    std::string store;
    std::optional<Moment> at;
    std::string table;
    std::vector<std::string> key;
    uint16_t tenant = 0;
    uint8_t source = KEL_SOURCE_DEFAULT;
    bool nearest = false;
    bool before = false;
    std::string field;
    FormOptions form{Form::list, false, {}};
};

std::string place_text(uint16_t tenant, uint8_t source) {
    return fmt::format("tenant {}, source {}", tenant, source);
}

// A suggestion: the key with another tenant or source, a similar key, or the next one in the
// table's order.
std::string suggestion(const Store &store, const Instance &instance, const Key &key,
                       const Options &options) {
    std::vector<std::string> keys;
    std::string elsewhere;
    for_each_record(store, instance, [&](const Record &record) {
        const std::string text = record.key_text();
        if (text == key.text()) elsewhere = place_text(record.tenant(), record.src());
        else if (record.tenant() == options.tenant && record.src() == options.source)
            keys.push_back(text);
        return elsewhere.empty();
    });
    if (!elsewhere.empty()) return fmt::format("; there is one of {}", elsewhere);
    const std::vector<std::string_view> known(keys.begin(), keys.end());
    if (const auto near = cli::nearest(key.text(), known))
        return fmt::format("; did you mean `{}`?", *near);
    for (const bool forward : {true, false}) {
        const Record near = find_nearest(store, instance, key, options.source, forward);
        if (near.record != nullptr) return fmt::format("; the nearest is `{}`", near.key_text());
    }
    return "";
}

Failure not_found(const Store &store, const Instance &instance, const Key &key,
                  const Options &options) {
    const char *where = options.nearest ? " or after it" : options.before ? " or before it" : "";
    return Failure(Exit::difference,
                   fmt::format("{} has no record `{}`{} of {}{}", instance.full_name(), key.text(),
                               where, place_text(options.tenant, options.source),
                               suggestion(store, instance, key, options)));
}

Record find(const Store &store, const Instance &instance, const Options &options) {
    const Key key = read_argument(
        [&] { return Key(*instance.table, key_texts(*instance.table, options.key)); });
    const tarn::tenant_scope tenant(options.tenant);
    const Record found = options.nearest || options.before
                             ? find_nearest(store, instance, key, options.source, options.nearest)
                             : find_record(store, instance, key, options.source);
    if (found.record == nullptr) throw not_found(store, instance, key, options);
    return found;
}

void print_field(const Record &record, const std::string &path) {
    const Value value = record.value(column_named(*record.table, path));
    if (!value.present())
        throw Failure(Exit::difference,
                      fmt::format("{}: the record is of a variant that doesn't have it", path));
    print_paged([&](std::ostream &out, const Screen &screen) {
        out << (screen.is_terminal ? shown(value.text(), screen) : value.text()) << '\n';
    });
}

void run(const Options &options) {
    const Store store = Store::open_to_read(options.store, options.at);
    Listing listing{find_instance(store, parse_table(options.table)), {}, Form::list, {}};
    apply(options.form, listing);
    const Record record = find(store, listing.instance, options);
    if (!options.field.empty()) return print_field(record, options.field);
    listing.selection.records.push_back(record);
    print_paged(
        [&](std::ostream &out, const Screen &screen) { print_record(out, listing, screen); });
}

constexpr const char *footer = R"(
Give the key's values in the order of the key, or as FIELD=VALUE in any order, a
string's bytes as FIELD:hex=00ff. `tarnctl describe TABLE` lists the fields. A
list shows an enumerator's name and number, and the smallest and largest value of
an array; --field prints the whole array, with blanks between the values.

As JSON: {"tenant": 0, "source": 1, "key": {...}, "fields": {...}}, with "key"
only on tables with a key structure; with --columns an object with these columns
as members.

Examples:
  tarnctl get ldap_conn ldap1.example.net --store net.store
  tarnctl get ldap_conn ldap1.example.net --field num_conns --store net.store
  tarnctl get ldap_conn b.exam --nearest --json --store net.store
  tarnctl get ldap_conn ldap1.example.net --at -2h --store net.store)";

void add_place_options(cli::Command &command, Options &options) {
    add_tenant_option(command, options.tenant, "The record's tenant; by default 0");
    add_source_option(command, options.source, "The record's source; by default 1");
    command.flag("--nearest", options.nearest,
                 "If there is none with this key, the next one after it");
    command
        .flag("--before", options.before,
              "If there is none with this key, the nearest one before it")
        .excludes("nearest");
}

}  // namespace

void declare_get(cli::Command &program, Exit & /*status*/) {
    const auto options = std::make_shared<Options>();
    cli::Command &command = program.command("get", "Show one record of a table by its key");
    command
        .argument("TABLE", cli::into(options->table), "The table, or one of several as TABLE:NAME")
        .required();
    command.argument("KEY", cli::into(options->key), "The values of the key").required();
    add_store_option(command, options->store);
    add_at_option(command, options->at);
    add_place_options(command, *options);
    add_form_options(command, options->form);
    command.option("--field", "FIELD", cli::into(options->field), "Print only this field's value")
        .excludes("format")
        .excludes("json")
        .excludes("columns");
    command.notes = footer;
    command.action = [options] { run(*options); };
}

}  // namespace tarnctl
