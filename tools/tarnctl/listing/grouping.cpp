// SPDX-License-Identifier: Apache-2.0
#include "listing/grouping.h"

#include <fmt/core.h>

#include <map>
#include <optional>

#include "base/failure.h"
#include "listing/columns.h"

namespace tarnctl {
namespace {

enum class Function { count, sum, least, most };

struct Aggregate {
    Function function;
    std::optional<ListingColumn> column;  // of all but `count`
    std::string title;
};

// The value of an aggregate in one group.
struct Figure {
    Wide sum = 0;
    const Record *record = nullptr;  // with the least or the largest value
    Cell cell;
};

struct Group {
    const Record *first = nullptr;
    uint64_t count = 0;
    std::vector<Figure> figures;
};

Aggregate parse_aggregate(const Table &table, const std::string &word) {
    if (word == "count") return {Function::count, std::nullopt, word};
    const std::pair<std::string_view, Function> functions[] = {
        {"sum(", Function::sum}, {"min(", Function::least}, {"max(", Function::most}};
    for (const auto &[name, function] : functions) {
        if (!word.starts_with(name) || !word.ends_with(')')) continue;
        ListingColumn column =
            single_column(table, word.substr(name.size(), word.size() - name.size() - 1));
        if (function == Function::sum && !column.is_number())
            throw Failure(Exit::usage, fmt::format("{}: only numbers have a sum", word));
        return {function, std::move(column), word};
    }
    throw Failure(Exit::usage,
                  fmt::format("`{}`: expected count, sum(FIELD), min(FIELD) or max(FIELD)", word));
}

std::vector<Aggregate> aggregates_of(const Table &table, const GroupingOptions &options) {
    std::vector<Aggregate> aggregates;
    for (const std::string &word : options.aggregates)
        aggregates.push_back(parse_aggregate(table, word));
    if (aggregates.empty()) aggregates.push_back({Function::count, std::nullopt, "count"});
    return aggregates;
}

void take(Figure &figure, const Aggregate &aggregate, const Record &record) {
    if (aggregate.function == Function::count) return;
    Cell cell = order_cell(record, *aggregate.column);
    if (std::holds_alternative<std::monostate>(cell)) return;
    if (aggregate.function == Function::sum) {
        figure.sum += std::get<Wide>(cell);
        return;
    }
    const bool is_first = figure.record == nullptr;
    if (!is_first &&
        !(aggregate.function == Function::least ? cell < figure.cell : figure.cell < cell))
        return;
    figure.record = &record;
    figure.cell = std::move(cell);
}

// Many JSON readers lose digits of numbers beyond 2^53, so that those are strings.
std::string json_of_integer(Wide number) {
    constexpr Wide largest = Wide{1} << 53;
    const std::string text = fmt::format("{}", number);
    return number > largest || number < -largest ? '"' + text + '"' : text;
}

SheetCell cell_of_wide(Wide number) {
    const std::string text = fmt::format("{}", number);
    return {text, json_of_integer(number), number};
}

SheetCell cell_of_record(const Record *record, const ListingColumn &column) {
    if (record == nullptr) return {"-", "null", {}};
    return {cell_text(*record, column, Reader::person), cell_json(*record, column).dump(),
            order_cell(*record, column)};
}

SheetCell cell_of_figure(const Group &group, const Figure &figure, const Aggregate &aggregate) {
    if (aggregate.function == Function::count) return cell_of_wide(Wide{group.count});
    if (aggregate.function == Function::sum) return cell_of_wide(figure.sum);
    return cell_of_record(figure.record, *aggregate.column);
}

class Grouping {
 public:
    Grouping(const Table &table, const GroupingOptions &options)
        : aggregates_(aggregates_of(table, options)) {
        for (const std::string &name : options.by) by_.push_back(single_column(table, name));
        // Without columns all records are one group, also an empty one.
        if (by_.empty()) groups_[{}].figures.resize(aggregates_.size());
    }

    void add(const Record &record) {
        std::vector<Cell> key;
        for (const ListingColumn &each : by_) key.push_back(order_cell(record, each));
        Group &group = groups_[std::move(key)];
        if (group.first == nullptr) group.first = &record;
        ++group.count;
        group.figures.resize(aggregates_.size());
        for (std::size_t i = 0; i < aggregates_.size(); ++i)
            take(group.figures[i], aggregates_[i], record);
    }

    Sheet sheet() const {
        Sheet sheet;
        for (const ListingColumn &each : by_)
            sheet.titles.push_back({each.title(), each.is_number()});
        for (const Aggregate &each : aggregates_)
            sheet.titles.push_back({each.title, !each.column || each.column->is_number()});
        for (const auto &[key, group] : groups_) sheet.lines.push_back(line_of(group));
        return sheet;
    }

 private:
    std::vector<SheetCell> line_of(const Group &group) const {
        std::vector<SheetCell> line;
        for (const ListingColumn &each : by_) line.push_back(cell_of_record(group.first, each));
        for (std::size_t i = 0; i < aggregates_.size(); ++i)
            line.push_back(cell_of_figure(group, group.figures[i], aggregates_[i]));
        return line;
    }

    std::vector<ListingColumn> by_;
    std::vector<Aggregate> aggregates_;
    std::map<std::vector<Cell>, Group> groups_;
};

}  // namespace

Sheet group(const Table &table, const std::vector<Record> &records,
            const GroupingOptions &options) {
    Grouping grouping(table, options);
    for (const Record &record : records) grouping.add(record);
    return grouping.sheet();
}

}  // namespace tarnctl
