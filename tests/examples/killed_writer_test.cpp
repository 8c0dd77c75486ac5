// SPDX-License-Identifier: Apache-2.0
//
// tarn-ldap is killed while ldap_show follows it, and started again on the same log.
#include <gtest/gtest.h>

#include <csignal>

#include "tests/support/process.h"
#include "tests/support/temporary_directory.h"

namespace tarn::test {
namespace {

TEST(KilledWriter, IsStartedAgainWhileReadersFollow) {
    const TemporaryDirectory directory;
    const std::string text = read_file(RECORDING);
    const std::string log = directory / "log";
    const std::string store = directory / "store";
    const std::string whole = directory / "whole";
    write_file(log, text.substr(0, text.find('\n', text.size() / 2) + 1));

    Process killed({TARN_LDAP, "--store", store, "--follow", "--verbose", log});
    ASSERT_TRUE(killed.wait_for("stored "));
    Process first({LDAP_SHOW, "--store", store, "--follow"});
    Process second({LDAP_SHOW, "--store", store, "--follow"});
    for (Process *reader : {&first, &second}) ASSERT_TRUE(reader->wait_for("following"));
    killed.send(SIGKILL);
    EXPECT_EQ(killed.finish().exit_code, -SIGKILL);
    write_file(log, text);
    EXPECT_EQ(run({TARN_LDAP, "--store", store, "--recount", log}).exit_code, 0);

    for (Process *reader : {&first, &second}) {
        reader->send(SIGTERM);
        const Outcome outcome = reader->finish();
        EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
        EXPECT_TRUE(outcome.out.ends_with("33 sent, 36 received, 0 connections open\n"))
            << outcome.out;
    }
    EXPECT_EQ(run({TARN_LDAP, "--store", whole, log}).exit_code, 0);
    EXPECT_EQ(run({LDAP_SHOW, "--store", store}).out, run({LDAP_SHOW, "--store", whole}).out);
}

}  // namespace
}  // namespace tarn::test
