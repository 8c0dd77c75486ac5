// SPDX-License-Identifier: Apache-2.0
// Every operation with every call of its services and hooks failing in turn. What
// each failure leads to is in outcomes.list:
//
//   <operation> | <service> | <outcome>
#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <fstream>
#include <map>

#include "tests/behaviour/fault/sweep.h"

namespace tarn::test {

namespace {

using Outcomes = std::set<std::string>;

// By operation.
const std::map<std::string, Outcomes> &expected_outcomes() {
    static const std::map<std::string, Outcomes> expected = [] {
        std::map<std::string, Outcomes> read;
        std::ifstream list(TARNBASE_OUTCOMES_LIST);
        for (std::string line; std::getline(list, line);) {
            const std::size_t bar = line.find(" | ");
            if (line.starts_with('#') || bar == std::string::npos) continue;
            read[line.substr(0, bar)].insert(line.substr(bar + 3));
        }
        return read;
    }();
    return expected;
}

std::string difference(const std::string &operation, const Outcomes &a, const Outcomes &b) {
    std::string text;
    for (const std::string &outcome : a) {
        if (!b.contains(outcome)) text += operation + " | " + outcome + "\n";
    }
    return text;
}

// For accepting an intended change: see the README of this folder.
void keep(const std::string &operation, const Outcomes &outcomes) {
    const char *file = std::getenv("TARNBASE_KEEP_OUTCOMES");
    if (file == nullptr) return;
    std::ofstream(file, std::ios::app) << difference(operation, outcomes, {});
}

class FaultSweep : public ::testing::TestWithParam<Operation> {};

TEST_P(FaultSweep, EveryFailureEndsAsListed) {
    const Operation &operation = GetParam();
    const SweepResult result = sweep(operation);
    keep(operation.name, result.outcomes);
    RecordProperty("faults", static_cast<int>(result.faults));
    EXPECT_EQ(result.faults == 0, operation.traits.infallible);
    const auto expected = expected_outcomes().find(operation.name);
    const Outcomes none;
    const Outcomes &listed = expected == expected_outcomes().end() ? none : expected->second;
    EXPECT_EQ(difference(operation.name, listed, result.outcomes), "") << "listed and not met";
    EXPECT_EQ(difference(operation.name, result.outcomes, listed), "") << "met and not listed";
}

std::string test_name(const ::testing::TestParamInfo<Operation> &info) {
    std::string name = info.param.name;
    for (char &each : name) {
        if (std::isalnum(static_cast<unsigned char>(each)) == 0) each = '_';
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P(Each, FaultSweep, ::testing::ValuesIn(all_operations()), test_name);

TEST(FaultList, NamesOnlyOperationsThatAreSwept) {
    std::set<std::string> swept;
    for (const Operation &operation : all_operations()) swept.insert(operation.name);
    EXPECT_EQ(swept.size(), all_operations().size()) << "a name occurs twice";
    for (const auto &[operation, outcomes] : expected_outcomes()) {
        EXPECT_TRUE(swept.contains(operation)) << operation;
    }
}

}  // namespace

// For gtest, in place of the bytes.
void PrintTo(const Operation &operation, std::ostream *out) { *out << operation.name; }

}  // namespace tarn::test
