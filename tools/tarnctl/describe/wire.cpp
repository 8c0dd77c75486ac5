// SPDX-License-Identifier: Apache-2.0
#include "describe/wire.h"

#include <fmt/core.h>

#include <algorithm>

#include "exchange/frames.h"
#include "model/value.h"
#include "model/value_type.h"

namespace tarnctl {
namespace {

constexpr uint64_t object_header = 1 + 1 + 4;  // variant, flags, jump

void add(WireSize &size, const WireSize &part, const std::string &prefix) {
    size.fixed += part.fixed;
    size.state += part.state;
    for (const std::string &each : part.variable) size.variable.push_back(prefix + each);
}

}  // namespace

WireSize wire_size(const Field &field) {
    WireSize size;
    if (field.kind == Kind::structure)
        add(size, wire_size(*field.structure, top_variant(*field.structure)),
            fmt::format("{}.", field.name));
    else size.fixed = uint64_t{field.facts().wire} * std::max(field.elements, 1U);
    size.state += 1 + field.elements;
    const ObjectType *type = object_type(field);
    if (type != nullptr && !type->wire.number.empty()) size.variable.emplace_back(field.name);
    return size;
}

WireSize wire_size(const Structure &structure, int variant) {
    WireSize size{object_header, 0, {}};
    for (const Field &field : structure.fields) {
        if (field.first_variant <= variant) add(size, wire_size(field), "");
    }
    return size;
}

WireSize wire_size(const Table &table) {
    WireSize size{frames::frame_header_size, 0, {}};
    add(size, wire_size(*table.type, top_variant(*table.type)), "");
    if (table.key_type != nullptr)
        add(size, wire_size(*table.key_type, top_variant(*table.key_type)), "");
    return size;
}

std::string size_text(const WireSize &size) {
    return fmt::format("{}{} byte{}", size.variable.empty() ? "" : "from ", size.fixed,
                       size.fixed == 1 ? "" : "s");
}

}  // namespace tarnctl
