// SPDX-License-Identifier: Apache-2.0
//
// Conditions on the records of a table.
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

// Conditions that must all hold. No comparison holds for a field that the record's variant lacks.
class Filter {
 public:
    // Failure `usage` if a text isn't a condition, or a field doesn't exist or isn't a single
    // value, `data` if a value isn't one of the field.
    Filter(const Table &table, const std::vector<std::string> &conditions);

    bool passes(const Record &record) const;
    // The texts of the key's columns, if only records of one key can pass.
    std::optional<std::vector<std::string>> key() const;

 private:
    struct Test {
        Column column;
        Comparison comparison;
        std::variant<Cell, Column, Pattern> operand;
        std::string text;  // of a value, in the field's form

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

// Calls `function` with the records that can pass, of all tenants and sources in key order, until
// it returns false: those of one key, found through the index, if the filter fixes the key, else
// all. Returns how many were left out.
uint64_t for_each_candidate(const Store &store, const Instance &instance, const Filter &filter,
                            const std::function<bool(const Record &)> &function,
                            Unreadable unreadable = Unreadable::fail);

}  // namespace tarnctl

#endif
