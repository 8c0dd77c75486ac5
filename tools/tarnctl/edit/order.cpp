// SPDX-License-Identifier: Apache-2.0
#include "edit/order.h"

#include <fmt/core.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <utility>

#include "base/failure.h"
#include "base/hex.h"
#include "query/filter.h"

namespace tarnctl {
namespace {

constexpr std::string_view hex_suffix = ":hex";

bool is_path(std::string_view text) {
    if (text.empty() || std::isdigit(static_cast<unsigned char>(text.front())) != 0) return false;
    return std::all_of(text.begin(), text.end(), [](unsigned char c) {
        return std::isalnum(c) != 0 || c == '_' || c == '.' || c == '[' || c == ']';
    });
}

// The part before the value: "FIELD=", "FIELD:hex=", "FIELD+=" or "FIELD-=".
struct Left {
    std::string_view path;
    bool hex = false;
    Operation operation = Operation::replace;
};

Left left_of(std::string_view word) {
    Left left{word.substr(0, word.find('='))};
    std::string_view &path = left.path;
    left.hex = path.ends_with(hex_suffix);
    if (left.hex) path.remove_suffix(hex_suffix.size());
    else if (path.ends_with('+')) left.operation = Operation::add;
    else if (path.ends_with('-')) left.operation = Operation::subtract;
    if (left.operation != Operation::replace) path.remove_suffix(1);
    return left;
}

Failure usage(const std::string &text) { return Failure(Exit::usage, text); }

std::string names_of(const std::vector<Column> &columns) {
    std::string names;
    for (const Column &column : columns) names += (names.empty() ? "" : ", ") + column.name();
    return names;
}

bool is_same(const Column &a, const Column &b) {
    return a.path.fields == b.path.fields && a.path.index == b.path.index &&
           a.path.whole_array == b.path.whole_array;
}

void refuse_twice(const std::vector<Assignment> &assignments, const Assignment &added) {
    for (const Assignment &each : assignments) {
        if (is_same(each.column, added.column))
            throw usage(fmt::format("field `{}` is given twice", added.column.name()));
    }
}

Failure key_stays(const Table &table, const Column &column) {
    return usage(
        fmt::format("`{}` is part of the key of {} and can't be changed; delete the record and "
                    "insert another",
                    column.name(), table.name));
}

void check_selection(const Order &order, const OrderWords &words) {
    if (words.all && !words.where.empty()) throw usage("--all and --where exclude each other");
    if (order.many && order.verb == Verb::insert)
        throw usage("--where and --all choose records to set or delete, not to insert");
}

// Adds "; a value with `=`..." to the error of a word that may be a key's value.
std::string key_value_hint(const Order &order, const std::string &word, std::size_t values) {
    const std::vector<Column> columns = key_columns(*order.table.table);
    if (order.many || order.verb == Verb::insert || values >= columns.size()) return "";
    return fmt::format(
        "; a value of the key that holds `=` is written with its field's name, as "
        "`{}={}`",
        columns[values].name(), word);
}

// The number to add to a field or to subtract from it.
void check_amount(const Column &column, const std::string &text) {
    const Field &field = column.path.leaf();
    if (column.is_key)
        throw usage(
            fmt::format("`{}` is part of the key; += and -= change other fields", column.name()));
    if (!field.is_integer() || column.path.whole_array)
        throw usage(fmt::format("`{}` is no integer; += and -= change integers", column.name()));
    uint64_t amount = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, amount);
    if (error != std::errc() || stop != end)
        throw Failure(Exit::data,
                      fmt::format("{}: expected a whole number to add or to subtract, not `{}`",
                                  column.name(), text));
}

void check_operations(const Order &order) {
    if (order.verb != Verb::insert || order.or_update) return;
    for (const Assignment &each : order.fields) {
        if (each.operation == Operation::replace) continue;
        throw usage(
            fmt::format("`{}`: += and -= change what a record has; a new one takes `=`, "
                        "unless it is inserted with --or-update",
                        each.column.name()));
    }
}

}  // namespace

bool is_assignment(std::string_view word) {
    return word.find('=') != std::string_view::npos && is_path(left_of(word).path);
}

std::string OrderReader::checked_text(const Column &column, const Structure &structure,
                                      const std::string &text) {
    void *&object = objects_[&structure];
    if (object == nullptr) object = structure.create(scratch_.handle(), KEL_TX_NONE);
    need(object == nullptr ? ENOMEM : 0, "reading values");
    Value value(scratch_.handle(), KEL_TX_NONE, object, column.path);
    value.set_text(text);
    return value.text();
}

Assignment OrderReader::assignment(const Table &table, std::string_view word) {
    if (!is_assignment(word))
        throw usage(fmt::format("{}: expected FIELD=VALUE, not `{}`", table.name, word));
    const Left left = left_of(word);
    Column column = column_named(table, left.path);
    std::string text(word.substr(word.find('=') + 1));
    if (left.operation != Operation::replace) {
        check_amount(column, text);
        return {std::move(column), std::move(text), left.operation};
    }
    if (left.hex) {
        if (column.path.leaf().kind != Kind::vstring)
            throw usage(
                fmt::format("`{}`: the field is no string; only a string can be given as "
                            "bytes",
                            word.substr(0, word.find('='))));
        text = bytes_of_hex(text, left.path);
    }
    const Structure &structure = column.in_key_object ? *table.key_type : *table.type;
    text = checked_text(column, structure, text);
    return {std::move(column), std::move(text)};
}

Assignment OrderReader::field_of_word(const Order &order, const std::string &word,
                                      std::size_t key_values) {
    const Table &table = *order.table.table;
    try {
        return assignment(table, word);
    } catch (const Failure &failure) {
        if (failure.code() != Exit::usage) throw;
        throw usage(failure.what() + key_value_hint(order, word, key_values));
    }
}

void OrderReader::take_words(Order &order, const std::vector<std::string> &words) {
    const Table &table = *order.table.table;
    std::vector<std::string> key_values;
    std::vector<Assignment> named_keys;
    for (const std::string &word : words) {
        if (!is_assignment(word) && order.verb != Verb::insert) {
            key_values.push_back(word);
            continue;
        }
        Assignment found = field_of_word(order, word, key_values.size() + named_keys.size());
        std::vector<Assignment> &place = found.column.is_key ? named_keys : order.fields;
        refuse_twice(place, found);
        place.push_back(std::move(found));
    }
    if (order.verb == Verb::erase && !order.fields.empty())
        throw usage(
            fmt::format("`{}` is no part of the key of {}; records with such a value are "
                        "chosen by --where",
                        order.fields.front().column.name(), table.name));
    if (!order.many) put_key_together(order, named_keys, key_values);
    else if (!named_keys.empty() && order.verb == Verb::set)
        throw key_stays(table, named_keys.front().column);
    else if (!named_keys.empty() || !key_values.empty())
        throw usage(
            fmt::format("{}: a key chooses one record, --where and --all choose several; "
                        "give one of them",
                        table.name));
}

void OrderReader::put_key_together(Order &order, const std::vector<Assignment> &named,
                                   const std::vector<std::string> &values) {
    const Table &table = *order.table.table;
    const std::vector<Column> columns = key_columns(table);
    if (values.size() > columns.size())
        throw usage(fmt::format("the key of {} has {} value{}, {}; `{}` is one more", table.name,
                                columns.size(), columns.size() == 1 ? "" : "s", names_of(columns),
                                values[columns.size()]));
    const Structure &carrier = table.key_carrier();
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const auto by_name = std::find_if(named.begin(), named.end(), [&](const Assignment &each) {
            return is_same(each.column, columns[i]);
        });
        if (i < values.size() && by_name != named.end()) throw key_stays(table, columns[i]);
        if (i < values.size()) {
            order.key.push_back({columns[i], checked_text(columns[i], carrier, values[i])});
        } else if (by_name != named.end()) {
            order.key.push_back(*by_name);
        } else {
            throw usage(
                fmt::format("{}: the key field `{}` is missing", table.name, columns[i].name()));
        }
    }
}

Order OrderReader::read(Verb verb, const OrderWords &words) {
    if (words.table.empty()) throw usage("TABLE is missing");
    Order order;
    order.verb = verb;
    order.table = parse_table(words.table);
    const Table &table = *order.table.table;
    order.many = words.all || !words.where.empty();
    order.tenant = words.tenant;
    order.source = words.source;
    order.create = words.create;
    order.or_update = words.or_update;
    order.if_exists = words.if_exists;
    check_selection(order, words);
    take_words(order, words.words);
    check_operations(order);
    if (verb == Verb::set && order.fields.empty())
        throw usage(fmt::format("{}: nothing to set; give FIELD=VALUE", table.name));
    // Only checked here: an order keeps the words.
    if (!words.where.empty()) Filter(table, words.where);
    order.where = words.where;
    return order;
}

}  // namespace tarnctl
