// SPDX-License-Identifier: Apache-2.0
#include "model.h"

#include <algorithm>
#include <array>

namespace tarnc {

const BuiltIn *find_built_in(const std::string &name) {
    static constexpr std::array<BuiltIn, 9> built_ins = {{
        {"u_int8", FieldKind::u_int8, "u_int8", "uint8_t", "uint8_t", 1, 1, 1},
        {"u_int16", FieldKind::u_int16, "u_int16", "uint16_t", "uint16_t", 2, 2, 1},
        {"u_int32", FieldKind::u_int32, "u_int32", "uint32_t", "uint32_t", 4, 4, 1},
        {"u_int64", FieldKind::u_int64, "u_int64", "uint64_t", "uint64_t", 8, 8, 1},
        {"int32", FieldKind::int32, "int32", "int32_t", "int32_t", 4, 4, 1},
        {"int64", FieldKind::int64, "int64", "int64_t", "int64_t", 8, 8, 1},
        {"kel_boolean", FieldKind::boolean, "boolean", "kel_boolean", "uint32_t", 16, 8, 1},
        {"kel_vstring", FieldKind::vstring, "vstring", "kel_vstring", nullptr, 32, 8, 2},
        {"ip_address", FieldKind::address, "address", "ip_address", nullptr, 32, 8, 8},
    }};
    const auto found = std::find_if(built_ins.begin(), built_ins.end(),
                                    [&](const BuiltIn &each) { return each.name == name; });
    return found == built_ins.end() ? nullptr : &*found;
}

std::vector<const Table *> Schema::tables_by_luid() const {
    std::vector<const Table *> result;
    for (const Table &table : tables) result.push_back(&table);
    std::sort(result.begin(), result.end(),
              [](const Table *a, const Table *b) { return a->identity.luid < b->identity.luid; });
    return result;
}

}  // namespace tarnc
