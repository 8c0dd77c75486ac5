// SPDX-License-Identifier: Apache-2.0
//
// Conditions on the records of a table, ready to be tried.
#ifndef TARNCTL_QUERY_FILTER_H
#define TARNCTL_QUERY_FILTER_H

#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "model/record.h"
#include "query/cell.h"
#include "query/parser.h"
#include "query/pattern.h"

namespace tarnctl {

// Conditions that must all hold. A record whose variant is too old to have a field fulfils no
// comparison with it.
class Filter {
 public:
    // Failure `usage` if a text is no condition, or a field isn't there or isn't a single value,
    // `data` if a value can't be read as one of the field.
    Filter(const Table &table, const std::vector<std::string> &conditions);

    bool passes(const Record &record) const;
    // The texts of the key's columns, if no record but those of one key can pass.
    std::optional<std::vector<std::string>> key() const;

 private:
    struct Test {
        Column column;
        Comparison comparison;
        std::variant<Cell, Column, Pattern> operand;
        std::string text;  // of a value, as the field writes it

        bool passes(const Record &record) const;
    };
    struct Node {
        ConditionText::Shape shape;
        std::optional<Test> test;  // of a comparison
        std::vector<Node> parts;

        bool passes(const Record &record) const;
    };
    class Resolver;

    const Table &table_;
    Node all_{ConditionText::Shape::all, {}, {}};
};

// Calls `function`, which returns whether to go on, with the records that can pass, of all tenants
// and sources in the index's order: those of one key, which the index finds, if the filter fixes
// the key, else all of the table.
void for_each_candidate(const Store &store, const Instance &instance, const Filter &filter,
                        const std::function<bool(const Record &)> &function);

}  // namespace tarnctl

#endif
