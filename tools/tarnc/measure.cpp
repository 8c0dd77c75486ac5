// SPDX-License-Identifier: Apache-2.0
#include "measure.h"

namespace tarnc {
namespace {

using tarnbase::FieldKind;
using tarnbase::KindGroup;

// Numbers, booleans and enumerations.
bool has_level(FieldKind kind) {
    const KindGroup group = tarnbase::facts_of(kind).group;
    return group == KindGroup::number || group == KindGroup::boxed ||
           group == KindGroup::enumeration;
}

}  // namespace

std::string usual_measure(FieldKind kind, bool counts) {
    if (kind == FieldKind::structure) return "parts";
    if (!has_level(kind)) return "plain";
    return counts && tarnbase::is_number(kind) ? "counter" : "gauge";
}

bool can_have(FieldKind kind, const std::string &measure) {
    if (measure == "counter") return tarnbase::is_number(kind);
    if (measure == "gauge") return has_level(kind);
    if (measure == "label") return kind != FieldKind::array && kind != FieldKind::structure;
    return true;
}

std::string holders_of(const std::string &measure) {
    if (measure == "counter") return "a number";
    if (measure == "gauge") return "a number, a boolean or an enumeration";
    return "a single value";
}

bool is_measure_name(const std::string &name) {
    char before = '_';
    for (const char c : name) {
        const bool is_letter_or_digit = (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
        if (!is_letter_or_digit && (c != '_' || before == '_')) return false;
        before = c;
    }
    return name.empty() || before != '_';
}

}  // namespace tarnc
