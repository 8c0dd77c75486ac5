// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/follower/population.h"

#include <algorithm>

namespace tarn::test {

const std::vector<const tarnbase::catalogue::Structure *> &object_types() {
    static const auto types = [] {
        std::vector<const tarnbase::catalogue::Structure *> found;
        for (const auto *table : tarnbase::catalogue::schema.tables) {
            for (const auto *type : {table->type, table->key_type}) {
                if (type == nullptr) continue;
                if (std::find(found.begin(), found.end(), type) == found.end()) {
                    found.push_back(type);
                }
            }
        }
        return found;
    }();
    return types;
}

}  // namespace tarn::test
