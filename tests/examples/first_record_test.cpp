// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "tests/support/process.h"

namespace tarn::test {
namespace {

TEST(FirstRecord, ARecordIsCreatedInsertedDeletedAndDestroyed) {
    const Outcome outcome = run({FIRST_RECORD});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_EQ(outcome.err, "");
    // The wire form: a header of 27 bytes, the identity of 16, then variant, flags, jump, a text
    // of 4 bytes and 20, and a number.
    EXPECT_EQ(outcome.out,
              "record@tbl_ldap_conn: {\n"
              "  st_ldap_conn@st_ldap_conn: {\n"
              "    sname: \"ldap://127.0.0.1:389\"\n"
              "    num_conns: 3\n"
              "  }\n"
              "}\n"
              "77 bytes on the wire\n"
              "0 records left\n");
}

}  // namespace
}  // namespace tarn::test
