// SPDX-License-Identifier: Apache-2.0
//
// A store with a journal, and the numbers of its transactions.
#ifndef TESTS_TARNCTL_PAST_H
#define TESTS_TARNCTL_PAST_H

#include <string>
#include <vector>

#include "tests/support/json.h"
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {

class WithPast : public WithStore {
 protected:
    void SetUp() override;
    // Changes the store, and returns the number of the last transaction.
    uint64_t change(std::vector<std::string> arguments, const std::string &input = "");
    uint64_t last_transaction();
    // The objects that the command prints, one a line.
    std::vector<nlohmann::json> lines_of(std::vector<std::string> arguments);
    // Standard output of a command that succeeds.
    std::string out_of(std::vector<std::string> arguments);
};

}  // namespace tarnctl_test

#endif
