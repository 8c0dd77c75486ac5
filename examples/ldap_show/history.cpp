// SPDX-License-Identifier: Apache-2.0
#include "history.h"

#include <string_view>
#include <variant>

#include "ldap_tables.h"
#include "tables.h"
#include "tarnbase/tarn/difference.hpp"
#include "tarnbase/tarn/replica.hpp"

namespace ldap_show {
namespace {

using Stats = tarn::tbl_ldap_stats;

// Counters are numbers, and names texts.
void print(const tarn::field_value &value, std::ostream &out) {
    if (const auto *number = std::get_if<std::uint64_t>(&value)) out << *number;
    else if (const auto *text = std::get_if<std::string_view>(&value)) out << *text;
    else out << "none";
}

// A counter of a new record that has counted nothing yet.
bool is_initial(const tarn::field_difference &difference) {
    const auto *after = std::get_if<std::uint64_t>(&difference.after);
    return std::holds_alternative<std::monostate>(difference.before) && after != nullptr &&
           *after == 0;
}

void print(const tarn::session &session, const tarn::record_change<Stats> &change,
           std::ostream &out) {
    out << (change.after ? change.after : change.before)->sname();
    const char *separator = ": ";
    for (const tarn::field_difference &each : tarn::differences(session, change)) {
        if (each.is_key || is_initial(each)) continue;
        out << separator << each.name << ' ';
        print(each.before, out);
        out << " -> ";
        print(each.after, out);
        separator = ", ";
    }
    out << '\n';
}

}  // namespace

void print_history(const std::string &store, std::ostream &out) {
    tarn::replica replica = tarn::replica::open(store, tarn::replica::oldest);
    const tarn::store copy = replica.store();
    const tarn::session session(copy, tarn::descriptors::of_library);
    for (auto step = replica.advance(); step != tarn::replica::step::current;
         step = replica.advance()) {
        const auto table = find_table<Stats>(session);
        if (!table || step == tarn::replica::step::gap) continue;
        for (const auto &change : replica.changes_of(*table, session)) {
            out << replica.sequence();
            if (const char *label = replica.transaction().label) out << " (" << label << ")";
            out << ' ';
            print(session, change, out);
        }
    }
    out << std::flush;
}

}  // namespace ldap_show
