// SPDX-License-Identifier: Apache-2.0
#include "describe/wire.h"

#include <fmt/format.h>

#include "model/value.h"

namespace tarnctl {
namespace {

constexpr uint64_t object_header = 1 + 1 + 4;  // variant, flags, jump
constexpr uint64_t record_header = 27 + 16;    // message header, LUID

uint64_t plain_size(const Field &field) {
    switch (field.kind) {
        case Kind::u_int8:
        case Kind::boolean:
        case Kind::address:  // its family
            return 1;
        case Kind::u_int16:
            return 2;
        case Kind::u_int64:
        case Kind::int64:
            return 8;
        case Kind::enumeration:
            return 1 + 4;
        case Kind::array:
            return field.elements;
        default:  // a number of 32 bits, or the length of a string
            return 4;
    }
}

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
    else size.fixed = plain_size(field);
    size.state += 1 + field.elements;
    if (field.kind == Kind::vstring || field.kind == Kind::address)
        size.variable.emplace_back(field.name);
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
    WireSize size{record_header, 0, {}};
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
