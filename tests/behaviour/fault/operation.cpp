// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/fault/operation.h"

#include <algorithm>
#include <iterator>

namespace tarn::test {

const std::vector<Operation> &all_operations() {
    static const std::vector<Operation> all = [] {
        std::vector<Operation> made;
        for (const auto &part : swept_operations()) {
            std::copy_if(part.begin(), part.end(), std::back_inserter(made),
                         [](const Operation &each) { return !targets_of(each.on).empty(); });
        }
        return made;
    }();
    return all;
}

}  // namespace tarn::test
