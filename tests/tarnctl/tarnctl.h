// SPDX-License-Identifier: Apache-2.0
//
// tarnctl as a user runs it, and a store for it to work on.
#ifndef TESTS_TARNCTL_TARNCTL_H
#define TESTS_TARNCTL_TARNCTL_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/process.h"
#include "tests/support/temporary_directory.h"

namespace tarnctl_test {

using tarn::test::Outcome;

// Runs tarnctl with these arguments and this standard input.
Outcome tarnctl(std::vector<std::string> arguments, const std::string &input = "");

inline bool holds(const std::string &text, const std::string &part) {
    return text.find(part) != std::string::npos;
}

// A call of tarnctl that must fail and print nothing.
struct Refusal {
    int exit_code;
    std::vector<std::string> arguments;
    std::string message;  // its standard error if this ends a line, else a part of it
};

// A folder with a store, filled by the library and not by tarnctl:
//   tbl_ldap_conn:ldap      a.example 1, b.example 2, ldap1.example.net 7 (source 1, tenant 0),
//                           b.example 20 of source 5, c.example 3 of tenant 9
//   tbl_aaa_servers:aaa     radius1: alive, aaa_authen.requests 5, minute[i] = i % 60
//   tbl_pexSessionEntry_op:sessions
//                           (1, "s1", 0): mac_addr, ipAddr 192.0.2.1; (2, "s2", 1): ipAddr
//                           2001:db8::1
//   tbl_dot1xAuthConfigEntry_op:ports and :more_ports
//                           1 authenticated; 2 held | 3 held
class WithStore : public testing::Test {
 protected:
    void SetUp() override;
    // tarnctl with `--store` and this store after the arguments.
    Outcome on_store(std::vector<std::string> arguments, const std::string &input = "");
    void expect_refusals(const std::vector<Refusal> &calls);

    tarn::test::TemporaryDirectory directory;
    std::string store = directory / "net.store";
};

}  // namespace tarnctl_test

#endif
