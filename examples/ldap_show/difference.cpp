// SPDX-License-Identifier: Apache-2.0
#include "difference.h"

#include <sstream>
#include <string_view>

#include "tables.h"

namespace ldap_show {
namespace {

// The names of the fields that differ. A record's XML form has a line a field, in one order.
std::string fields_that_differ(const std::string &a, const std::string &b) {
    std::istringstream lines_a(a);
    std::istringstream lines_b(b);
    std::string names;
    for (std::string line_a, line_b; getline(lines_a, line_a) && getline(lines_b, line_b);) {
        if (line_a == line_b) continue;
        const size_t start = line_a.find('<') + 1;
        names += (names.empty() ? "" : ", ") +
                 line_a.substr(start, line_a.find_first_of(" >", start) - start);
    }
    return names;
}

// The wire form of a record's object, which two objects share if all their fields are equal.
template <class View>
tarn::bytes wire_of(const tarn::object_view<View> &object) {
    return object.to_wire();
}

// The order of the tables: shorter names first, then by their bytes.
bool comes_first(std::string_view a, std::string_view b) {
    return a.size() != b.size() ? a.size() < b.size() : a < b;
}

// Compares two tables record by record.
template <class Table>
class TableComparison {
 public:
    explicit TableComparison(Comparison &comparison) : comparison_(comparison) {}

    void run(const tarn::table<Table> &a, const tarn::table<Table> &b) {
        auto in_a = a.begin();
        auto in_b = b.begin();
        while (in_a != a.end() && in_b != b.end()) {
            if (comes_first((*in_a).key(), (*in_b).key())) differ(*in_a++, only_in_first);
            else if (comes_first((*in_b).key(), (*in_a).key())) differ(*in_b++, only_in_second);
            else both(*in_a++, *in_b++);
        }
        while (in_a != a.end()) differ(*in_a++, only_in_first);
        while (in_b != b.end()) differ(*in_b++, only_in_second);
    }
    void all(const tarn::table<Table> &table, const std::string &how) {
        for (const auto record : table) differ(record, how);
    }

    static constexpr const char *only_in_first = "only in the first store";
    static constexpr const char *only_in_second = "only in the second store";

 private:
    using Record = tarn::record<Table>;

    void both(const Record &a, const Record &b) {
        if (wire_of(a) == wire_of(b)) ++comparison_.equal;
        else differ(a, "other " + fields_that_differ(a.to_xml(), b.to_xml()));
    }
    void differ(const Record &record, const std::string &how) {
        comparison_.differences.push_back(std::string(Table::name) + " " +
                                          std::string(record.key()) + ": " + how);
    }

    Comparison &comparison_;
};

}  // namespace

Comparison compare(const tarn::session &first, const tarn::session &second) {
    Comparison comparison;
    for_each_table([&]<class Table>(std::type_identity<Table>) {
        const auto a = find_table<Table>(first);
        const auto b = find_table<Table>(second);
        TableComparison<Table> tables(comparison);
        if (a && b) tables.run(*a, *b);
        else if (a) tables.all(*a, tables.only_in_first);
        else if (b) tables.all(*b, tables.only_in_second);
    });
    return comparison;
}

}  // namespace ldap_show
