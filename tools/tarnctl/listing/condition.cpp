// SPDX-License-Identifier: Apache-2.0
#include "listing/condition.h"

#include <fmt/format.h>
#include <fnmatch.h>

#include <cerrno>

#include "base/failure.h"
#include "model/json.h"

namespace tarnctl {
namespace {

constexpr std::string_view hex_mark = ":hex";

struct Sign {
    std::string_view text;
    Comparison comparison;
};

// Of two that begin alike, the longer one first.
constexpr Sign signs[] = {
    {"!=", Comparison::not_equal}, {"!~", Comparison::unlike}, {"<=", Comparison::not_greater},
    {">=", Comparison::not_less},  {"=", Comparison::equal},   {"<", Comparison::less},
    {">", Comparison::greater},    {"~", Comparison::like},
};

bool is_glob(Comparison comparison) {
    return comparison == Comparison::like || comparison == Comparison::unlike;
}

template <class T>
int order_of(const T &a, const T &b) {
    return a < b ? -1 : b < a ? 1 : 0;
}

// Negative, zero, positive; both are values of one field.
int compare(const Value &a, const Value &b) {
    const Field &field = a.field();
    if (field.kind == Kind::vstring) return a.bytes().compare(b.bytes());
    if (field.kind == Kind::address) return ip_address_compare(&a.address(), &b.address());
    if (field.is_signed())
        return order_of(static_cast<int64_t>(a.number()), static_cast<int64_t>(b.number()));
    return order_of(a.number(), b.number());
}

bool fulfils(int order, Comparison comparison) {
    switch (comparison) {
        case Comparison::not_equal:
            return order != 0;
        case Comparison::less:
            return order < 0;
        case Comparison::not_greater:
            return order <= 0;
        case Comparison::greater:
            return order > 0;
        case Comparison::not_less:
            return order >= 0;
        default:
            return order == 0;
    }
}

}  // namespace

ConditionText parse_condition(std::string_view text) {
    const std::size_t place = text.find_first_of("=!<>~");
    if (place != std::string_view::npos && place > 0) {
        std::string_view field = text.substr(0, place);
        for (const Sign &sign : signs) {
            if (!text.substr(place).starts_with(sign.text)) continue;
            const bool is_hex = field.ends_with(hex_mark);
            if (is_hex) field.remove_suffix(hex_mark.size());
            return {std::string(field), is_hex, sign.comparison,
                    std::string(text.substr(place + sign.text.size()))};
        }
    }
    throw Failure(Exit::usage,
                  fmt::format("`{}`: expected a condition such as FIELD=VALUE, with one of = != < "
                              "<= > >= ~ !~ behind the field",
                              text));
}

void set_given(Value &value, std::string_view text, bool is_hex) {
    if (!is_hex) return value.set_text(text);
    if (value.field().kind != Kind::vstring)
        throw Failure(Exit::usage,
                      fmt::format("{}: only a string can be given as `:hex`", value.name()));
    value.set_bytes(bytes_of_hex(text, value.name()));
}

Filter::Filter(const Table &table, const std::vector<std::string> &conditions) {
    for (const std::string &each : conditions) add(table, parse_condition(each));
}

void Filter::add(const Table &table, const ConditionText &text) {
    const Column column = column_named(table, text.field);
    if (column.path.whole_array)
        throw Failure(Exit::usage, fmt::format("{}: an array isn't a single value; name one of its "
                                               "elements, as `{}[0]`",
                                               text.field, text.field));
    const Structure &carrier = column.in_key_object ? *table.key_type : *table.type;
    void *object = carrier.create(scratch_.handle(), KEL_TX_NONE);
    need(object == nullptr ? ENOMEM : 0, "making a condition");
    Value operand(scratch_.handle(), KEL_TX_NONE, object, column.path);
    if (!is_glob(text.comparison)) set_given(operand, text.value, text.is_hex);
    conditions_.push_back({column, text.comparison, operand, text.value});
}

bool Filter::passes(const Record &record) const {
    for (const Condition &each : conditions_) {
        const Value value = record.value(each.column);
        if (!value.present()) return false;
        if (is_glob(each.comparison)) {
            const bool matches = fnmatch(each.glob.c_str(), value.text().c_str(), 0) == 0;
            if (matches != (each.comparison == Comparison::like)) return false;
        } else if (!fulfils(compare(value, each.operand), each.comparison)) {
            return false;
        }
    }
    return true;
}

}  // namespace tarnctl
