// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from sample.tarn; changes belong there.
#include "agentx/map.h"

namespace agentx {
namespace {

// outlineTable
constexpr uint32_t entry_0[] = { 1, 3, 6, 1, 3, 99, 1, 1 };
constexpr MapColumn index_0[] = {
    { 0, Syntax::unsigned_number, "number", "", false, lowest, highest },
};
constexpr MapColumn columns_0[] = {
    { 1, Syntax::integer, "color", "", false, 1, 2 },
    { 4, Syntax::truth, "filled", "", false, lowest, highest },
};
// sampleLayerShape
constexpr uint32_t entry_1[] = { 1, 1, 1 };
constexpr MapColumn index_1[] = {
    { 11, Syntax::text, "layer", "", true, lowest, 4096 },
    { 12001, Syntax::address_type, "owner", "", true, lowest, highest },
    { 12002, Syntax::address, "owner", "", true, lowest, highest },
};
constexpr MapColumn columns_1[] = {
    { 101, Syntax::counter, "sides", "", false, lowest, highest },
    { 102, Syntax::unsigned_number, "number", "", false, lowest, highest },
    { 103, Syntax::integer, "color", "", false, 1, 2 },
    { 106, Syntax::truth, "filled", "", false, lowest, highest },
    { 104001, Syntax::decimal, "first.x", "", false, lowest, highest },
    { 104002, Syntax::unsigned_number, "first.register", "", false, lowest, highest },
};
// sampleShape
constexpr uint32_t entry_2[] = { 1, 2, 1 };
constexpr MapColumn index_2[] = {
    { 102, Syntax::unsigned_number, "number", "", false, lowest, highest },
};
constexpr MapColumn columns_2[] = {
    { 101, Syntax::counter, "sides", "", false, lowest, highest },
    { 103, Syntax::integer, "color", "", false, 1, 2 },
    { 106, Syntax::truth, "filled", "", false, lowest, highest },
    { 104001, Syntax::decimal, "first.x", "", false, lowest, highest },
    { 104002, Syntax::unsigned_number, "first.register", "", false, lowest, highest },
};

constexpr MapTable tables[] = {
    {"tbl_shape", false, entry_0, index_0, columns_0},
    {"tbl_layer_shape", true, entry_1, index_1, columns_1},
    {"tbl_shape", true, entry_2, index_2, columns_2},
};
constexpr MapEvent events[] = {
    {"tbl_shape", "sides", 1},
};

}  // namespace

constexpr uint32_t base[] = { 1, 3, 6, 1, 4, 1, 8072, 9999, 9999, 1 };

const Map map = {base, tables, events};

}  // namespace agentx
