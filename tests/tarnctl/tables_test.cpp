// SPDX-License-Identifier: Apache-2.0
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

using Tables = WithStore;

TEST_F(Tables, OfAStoreAreListedWithTheirInstances) {
    const Outcome outcome = on_store({"tables"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("tbl_dot1xAuthConfigEntry_op:more_ports"), std::string::npos);
}

TEST_F(Tables, OfAFileThatIsNoStoreAreAStoreError) {
    example_test::write_file(store, "no store");
    const Outcome outcome = on_store({"tables"});
    EXPECT_EQ(outcome.exit_code, 4);
    EXPECT_NE(outcome.err.find(store), std::string::npos) << outcome.err;
}

}  // namespace
}  // namespace tarnctl_test
