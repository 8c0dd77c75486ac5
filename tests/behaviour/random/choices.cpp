// SPDX-License-Identifier: Apache-2.0
// Random choices: forms, tables, sources, records.
#include "tests/behaviour/random/driver.h"

namespace tarn::test {

namespace {

constexpr u8 sources[] = {1, 1, 1, 0, 2, 200, 255, 255};

}  // namespace

const Traversal &Driver::names() {
    const Traversal *const all[] = {&s.by_key, &s.by_pkey, &s.by_pkey_unsafe};
    return *random_.of(all);
}

u8 Driver::any_source() { return random_.of(sources); }

Place Driver::any_place() { return {tenant_, random_.below(run_.kind->keys), any_source()}; }

u32 Driver::pick(bool (*wanted)(const Row &)) {
    const u32 rows = static_cast<u32>(model_.rows.size());
    if (rows == 0) return no_row;
    const u32 start = random_.below(rows);
    for (u32 i = 0; i < rows; ++i) {
        const u32 row = (start + i) % rows;
        if (model_.rows[row].record != nullptr && wanted(model_.rows[row])) return row;
    }
    return no_row;
}

u32 Driver::pick_inside() {
    return pick([](const Row &row) { return row.table != outside; });
}

u32 Driver::pick_outside() {
    return pick([](const Row &row) { return row.table == outside; });
}

u32 Driver::pick_any() {
    return pick([](const Row &) { return true; });
}

}  // namespace tarn::test
