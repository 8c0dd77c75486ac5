/* SPDX-License-Identifier: Apache-2.0 */
// A test of all functions of one table, structure or enumeration in one mode.
#ifndef TARNBASE_TESTS_BEHAVIOUR_EVERY_CONVENTION_H
#define TARNBASE_TESTS_BEHAVIOUR_EVERY_CONVENTION_H

#include <optional>
#include <string>
#include <vector>

#include "tests/behaviour/every/call_context.h"

namespace tarn::test {

struct ItemInMode {
    std::string item;
    Mode mode;
};

inline void PrintTo(const ItemInMode &each, std::ostream *out) {
    *out << each.item << ", " << mode_name(each.mode);
}

inline std::vector<ItemInMode> all_items(std::initializer_list<Mode> modes) {
    std::vector<ItemInMode> items;
    for (const Mode mode : modes) {
        for (const Table *each : all_tables()) items.push_back({each->name, mode});
        for (const Structure *each : all_structures()) items.push_back({each->name, mode});
        for (const Enumeration *each : all_enumerations()) items.push_back({each->name, mode});
    }
    return items;
}

inline std::string item_name(const ::testing::TestParamInfo<ItemInMode> &each) {
    return each.param.item + "_" + mode_name(each.param.mode);
}

class ItemTest : public ::testing::TestWithParam<ItemInMode> {
 protected:
    const TraceCapture trace;
    const std::string item = GetParam().item;
    const std::vector<Prototype> functions = prototypes_of(item);
};

#define TARN_EVERY_ITEM(suite, ...) \
    INSTANTIATE_TEST_SUITE_P(Every, suite, ::testing::ValuesIn(all_items({__VA_ARGS__})), item_name)

}  // namespace tarn::test

#endif
