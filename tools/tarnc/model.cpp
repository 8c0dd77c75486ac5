// SPDX-License-Identifier: Apache-2.0
#include "model.h"

#include <algorithm>
#include <iterator>

namespace tarnc {

const KindFacts *find_built_in(const std::string &name) {
    const auto *found = std::find_if(
        std::begin(tarnbase::all_kinds), std::end(tarnbase::all_kinds),
        [&](const KindFacts &each) { return each.type[0] != '\0' && each.type == name; });
    return found == std::end(tarnbase::all_kinds) ? nullptr : found;
}

std::vector<const Table *> Schema::tables_by_luid() const {
    std::vector<const Table *> result;
    for (const Table &table : tables) result.push_back(&table);
    std::sort(result.begin(), result.end(),
              [](const Table *a, const Table *b) { return a->identity.luid < b->identity.luid; });
    return result;
}

}  // namespace tarnc
