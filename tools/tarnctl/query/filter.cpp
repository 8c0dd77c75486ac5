// SPDX-License-Identifier: Apache-2.0
#include "query/filter.h"

#include <fmt/core.h>

#include <algorithm>
#include <cctype>
#include <cerrno>

#include "base/failure.h"
#include "base/hex.h"
#include "query/single_value.h"

namespace tarnctl {
namespace {

using Shape = ConditionText::Shape;

bool is_pattern(Comparison comparison) {
    return comparison == Comparison::like || comparison == Comparison::unlike ||
           comparison == Comparison::like_in_case;
}

bool is_true(const Cell &a, Comparison comparison, const Cell &b) {
    switch (comparison) {
        case Comparison::not_equal:
            return a != b;
        case Comparison::less:
            return a < b;
        case Comparison::not_greater:
            return a <= b;
        case Comparison::greater:
            return a > b;
        case Comparison::not_less:
            return a >= b;
        default:
            return a == b;
    }
}

// The field that the operand names, if the column can be compared with it.
std::optional<Column> other_field(const Table &table, const Column &column,
                                  const ComparisonText &text) {
    const std::string &word = text.operand.text;
    if (text.is_hex || text.operand.quoted || word.empty() ||
        std::isdigit(static_cast<unsigned char>(word.front())) != 0)
        return std::nullopt;
    try {
        Column other = column_named(table, word);
        if (are_comparable(column.path, other.path)) return other;
    } catch (const Failure &) {
        // Not a field: a value.
    }
    return std::nullopt;
}

}  // namespace

// Makes tests from texts. Values are tried on objects in a private store.
class Filter::Resolver {
 public:
    explicit Resolver(const Table &table) : table_(table) {}

    // NOLINTNEXTLINE(misc-no-recursion): as deep as the parser let it be
    Node node(const ConditionText &text) const {
        Node result{text.shape, {}, {}};
        if (text.shape == Shape::comparison) result.test = test(text.comparison);
        for (const ConditionText &part : text.parts) result.parts.push_back(node(part));
        return result;
    }

 private:
    Test test(const ComparisonText &text) const {
        Column column = single_value_column(table_, text.field);
        if (is_pattern(text.comparison)) {
            const bool ignores_case = text.comparison != Comparison::like_in_case;
            return {std::move(column), text.comparison, Pattern(text.operand.text, ignores_case),
                    ""};
        }
        if (std::optional<Column> other = other_field(table_, column, text))
            return {std::move(column), text.comparison, std::move(*other), ""};
        void *object = object_of(column);
        Value value(scratch_.handle(), KEL_TX_NONE, object, column.path);
        set_given(value, text);
        return {std::move(column), text.comparison, cell_of(value), value.text()};
    }

    // Freed with the store.
    void *object_of(const Column &column) const {
        const Structure &carrier = column.in_key_object ? *table_.key_type : *table_.type;
        void *object = carrier.create(scratch_.handle(), KEL_TX_NONE);
        need(object == nullptr ? ENOMEM : 0, "making a condition");
        return object;
    }

    static void set_given(Value &value, const ComparisonText &text) {
        if (!text.is_hex) return value.set_text(text.operand.text);
        if (value.field().kind != Kind::vstring)
            throw Failure(Exit::usage,
                          fmt::format("{}: only a string can be given as `:hex`", value.name()));
        value.set_text(bytes_of_hex(text.operand.text, value.name()));
    }

    const Table &table_;
    Store scratch_ = Store::scratch();
};

Filter::Filter(const Table &table, const std::vector<std::string> &conditions) : table_(table) {
    if (conditions.empty()) return;
    const Resolver resolver(table);
    for (const std::string &each : conditions)
        all_.parts.push_back(resolver.node(parse_condition(each)));
}

bool Filter::Test::passes(const Record &record) const {
    const Value value = record.value(column);
    if (!value.present()) return false;
    if (const auto *pattern = std::get_if<Pattern>(&operand))
        return pattern->matches(value.text()) == (comparison != Comparison::unlike);
    if (const auto *other = std::get_if<Column>(&operand)) {
        const Value right = record.value(*other);
        return right.present() && is_true(cell_of(value), comparison, cell_of(right));
    }
    return is_true(cell_of(value), comparison, std::get<Cell>(operand));
}

// NOLINTNEXTLINE(misc-no-recursion): as deep as the parser let it be
bool Filter::Node::passes(const Record &record) const {
    const auto holds = [&](const Node &part) { return part.passes(record); };
    switch (shape) {
        case Shape::comparison:
            return test->passes(record);
        case Shape::negation:
            return !parts.front().passes(record);
        case Shape::any:
            return std::any_of(parts.begin(), parts.end(), holds);
        default:
            return std::all_of(parts.begin(), parts.end(), holds);
    }
}

bool Filter::passes(const Record &record) const { return all_.passes(record); }

std::optional<std::vector<std::string>> Filter::key() const {
    std::vector<const Test *> equalities;
    std::vector<const Node *> needed = {&all_};
    while (!needed.empty()) {
        const Node &node = *needed.back();
        needed.pop_back();
        if (node.shape == Shape::all)
            for (const Node &part : node.parts) needed.push_back(&part);
        if (node.test && node.test->comparison == Comparison::equal &&
            std::holds_alternative<Cell>(node.test->operand))
            equalities.push_back(&*node.test);
    }
    std::vector<std::string> texts;
    for (const Column &column : key_columns(table_)) {
        const auto found =
            std::find_if(equalities.begin(), equalities.end(), [&](const Test *each) {
                return each->column.is_key && each->column.name() == column.name();
            });
        if (found == equalities.end()) return std::nullopt;
        texts.push_back((*found)->text);
    }
    return texts;
}

uint64_t for_each_candidate(const Store &store, const Instance &instance, const Filter &filter,
                            const std::function<bool(const Record &)> &function,
                            Unreadable unreadable) {
    if (const auto texts = filter.key())
        return for_each_record_of_key(store, instance, Key(*instance.table, *texts), function,
                                      unreadable);
    return for_each_record(store, instance, function, unreadable);
}

}  // namespace tarnctl
