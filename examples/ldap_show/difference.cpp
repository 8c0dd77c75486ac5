// SPDX-License-Identifier: Apache-2.0
#include "difference.h"

#include <sstream>

#include "tables.h"

namespace ldap_show {
namespace {

// The names of the fields that differ. A record's XML form has a line a field, in one order.
std::string fields_that_differ(const OpenTable &table_a, kel_record *a, const OpenTable &table_b,
                               kel_record *b) {
    std::istringstream lines_a(table_a.xml(a));
    std::istringstream lines_b(table_b.xml(b));
    std::string names;
    for (std::string line_a, line_b; getline(lines_a, line_a) && getline(lines_b, line_b);) {
        if (line_a == line_b) continue;
        const size_t start = line_a.find('<') + 1;
        names += (names.empty() ? "" : ", ") +
                 line_a.substr(start, line_a.find_first_of(" >", start) - start);
    }
    return names;
}

void compare_tables(const OpenTable &a, const OpenTable &b, Comparison &comparison) {
    const auto differ = [&](const OpenTable &table, kel_record *record, const std::string &how) {
        comparison.differences.push_back(table.table().name + (" " + table.server(record)) + ": " +
                                         how);
    };
    const LdapTable &functions = a.table();
    kel_record *in_a = a.first();
    kel_record *in_b = b.first();
    while (in_a != nullptr || in_b != nullptr) {
        const int32_t order = in_a == nullptr ? 1
                              : in_b == nullptr
                                  ? -1
                                  : kel_vstring_compare(functions.key(a.handle(), in_a),
                                                        functions.key(b.handle(), in_b));
        if (order < 0) differ(a, in_a, "only in the first store");
        else if (order > 0) differ(b, in_b, "only in the second store");
        else if (functions.compare(a.handle(), in_a, b.handle(), in_b) == 0) ++comparison.equal;
        else differ(a, in_a, "other " + fields_that_differ(a, in_a, b, in_b));
        if (order <= 0) in_a = a.next(in_a);
        if (order >= 0) in_b = b.next(in_b);
    }
}

}  // namespace

Comparison compare(const example::Session &first, const example::Session &second) {
    Comparison comparison;
    for (const LdapTable &functions : kLdapTables)
        compare_tables(OpenTable(first, functions, OpenTable::Missing::stays_missing),
                       OpenTable(second, functions, OpenTable::Missing::stays_missing), comparison);
    return comparison;
}

}  // namespace ldap_show
