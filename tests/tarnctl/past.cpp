// SPDX-License-Identifier: Apache-2.0
#include "tests/tarnctl/past.h"

#include <sstream>

namespace tarnctl_test {

using nlohmann::json;

void WithPast::SetUp() {
    WithStore::SetUp();
    ASSERT_EQ(on_store({"journal", "start"}).exit_code, 0);
}

uint64_t WithPast::change(std::vector<std::string> arguments, const std::string &input) {
    const Outcome outcome = on_store(std::move(arguments), input);
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    return last_transaction();
}

uint64_t WithPast::last_transaction() {
    const std::vector<json> all = lines_of({"log", "--json"});
    return all.empty() ? 0 : all.back()["transaction"].get<uint64_t>();
}

std::vector<json> WithPast::lines_of(std::vector<std::string> arguments) {
    std::istringstream lines(out_of(std::move(arguments)));
    std::vector<json> found;
    for (std::string line; std::getline(lines, line);) found.push_back(tarn::test::json_of(line));
    return found;
}

std::string WithPast::out_of(std::vector<std::string> arguments) {
    const Outcome outcome = on_store(std::move(arguments));
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    return outcome.out;
}

}  // namespace tarnctl_test
