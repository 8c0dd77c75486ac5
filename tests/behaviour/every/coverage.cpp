// SPDX-License-Identifier: Apache-2.0
// Checks at the end of a complete run that the program's functions were all called.
#include <cstdlib>
#include <fstream>

#include "tests/behaviour/every/call.h"
#include "tests/behaviour/every/items.h"

namespace tarn::test {
namespace {

bool is_of_table(const std::string &name) {
    return name.compare(0, 4, "tbl_") == 0 || name.find("_tbl_") != std::string::npos;
}

// The functions of no table and of no type are the module's own.
bool is_of_type(const std::string &name) {
    const auto belongs = [&](const auto *item) {
        return name.compare(0, std::string(item->name).size() + 1, std::string(item->name) + "_") ==
               0;
    };
    for (const Structure *type : all_structures()) {
        if (belongs(type)) return true;
    }
    for (const Enumeration *type : all_enumerations()) {
        if (belongs(type)) return true;
    }
    return false;
}

bool is_complete_run() {
    return GTEST_FLAG_GET(filter) == "*" && std::getenv("GTEST_TOTAL_SHARDS") == nullptr;
}

// The list has a letter and a name per line: F a function, W a weak one, D data.
class EveryFunction : public ::testing::Environment {
    void TearDown() override {
        if (!is_complete_run()) return;
        std::ifstream list(TARNBASE_EXPORTS);
        std::string letter, name;
        u32 expected = 0;
        while (list >> letter >> name) {
            if (letter == "D") continue;
            const bool tables = is_of_table(name);
            if (TARNBASE_ABOUT_TABLES ? !tables : tables || !is_of_type(name)) continue;
            ++expected;
            EXPECT_EQ(called_names().count(name), 1U) << name << " was never called";
        }
        EXPECT_EQ(expected, TARNBASE_ABOUT_TABLES ? 7510U + 315U : 2318U + 2442U + 640U);
    }
};

[[maybe_unused]] ::testing::Environment *const environment =
    ::testing::AddGlobalTestEnvironment(new EveryFunction);

}  // namespace
}  // namespace tarn::test
