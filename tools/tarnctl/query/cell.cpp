// SPDX-License-Identifier: Apache-2.0
#include "query/cell.h"

namespace tarnctl {
namespace {

bool is_number(const Path &path) { return path.leaf().is_number() || path.leaf().elements > 0; }

}  // namespace

Cell cell_of(const Value &value) {
    if (!value.present()) return {};
    if (const ObjectType *type = object_type(value.field())) return type->order(value.object());
    const uint64_t bits = value.number();
    return value.field().is_signed() ? Wide{static_cast<int64_t>(bits)} : Wide{bits};
}

bool are_comparable(const Path &a, const Path &b) {
    if (a.whole_array || b.whole_array) return false;
    if (is_number(a) || is_number(b)) return is_number(a) && is_number(b);
    return a.leaf().kind == b.leaf().kind && a.leaf().enumeration == b.leaf().enumeration;
}

}  // namespace tarnctl
