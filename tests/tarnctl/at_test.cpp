// SPDX-License-Identifier: Apache-2.0
//
// --at: the store as it was.
#include <chrono>
#include <thread>

#include "tests/tarnctl/past.h"

namespace tarnctl_test {
namespace {

using nlohmann::json;

class At : public WithPast {
 protected:
    std::string connections_at(const std::string &moment) {
        return out_of({"get", "ldap_conn", "a.example", "--field", "num_conns", "--at", moment});
    }
    std::string set(int number) {
        return std::to_string(
            change({"set", "ldap_conn", "a.example", "num_conns=" + std::to_string(number)}));
    }
    // Of a transaction, as `log` prints it.
    std::string time_of(const std::string &transaction) {
        return tarn::test::json_of(out_of({"log", "--show", transaction, "--json"}))["time"];
    }
    static void let_time_pass() { std::this_thread::sleep_for(std::chrono::milliseconds(20)); }
};

TEST_F(At, ATransactionTheStoreIsAsItWas) {
    const std::string first = set(10);
    const std::string second = set(20);
    change({"delete", "ldap_conn", "a.example"});
    EXPECT_EQ(connections_at(first), "10\n");
    EXPECT_EQ(connections_at(second), "20\n");
    EXPECT_EQ(on_store({"get", "ldap_conn", "a.example"}).exit_code, 1);
    const std::vector<std::string> find = {"find", "ldap_conn", "sname=a.example", "--count"};
    EXPECT_EQ(on_store(find).out, "0\n");
    std::vector<std::string> then = find;
    then.insert(then.end(), {"--at", second});
    EXPECT_EQ(on_store(then).out, "1\n");
    EXPECT_TRUE(
        holds(out_of({"show", "ldap_conn", "--at", first, "--format", "csv"}), "a.example,10"));
    EXPECT_TRUE(holds(out_of({"export", "--at", first, "-f", "json"}), "\"num_conns\":10"));
}

TEST_F(At, ATimeTheStoreIsAsItWas) {
    set(10);
    let_time_pass();
    const std::string second = set(20);
    let_time_pass();
    const std::string third = set(30);
    EXPECT_EQ(connections_at(time_of(second)), "10\n");
    EXPECT_EQ(connections_at(time_of(third)), "20\n");
    let_time_pass();
    EXPECT_EQ(connections_at("-0s"), "30\n");
}

TEST_F(At, AStateBeforeACheckpointIsKept) {
    const std::string first = set(10);
    ASSERT_EQ(on_store({"store", "compact"}).exit_code, 0);
    let_time_pass();
    const std::string second = set(20);
    ASSERT_EQ(on_store({"store", "compact"}).exit_code, 0);
    EXPECT_EQ(connections_at(first), "10\n");
    EXPECT_EQ(connections_at(second), "20\n");
    EXPECT_EQ(connections_at(time_of(second)), "10\n");
}

TEST_F(At, AMomentThatIsntKeptItNamesTheOldest) {
    set(10);
    const Outcome before = on_store({"show", "ldap_conn", "--at", "2001-01-01"});
    EXPECT_EQ(before.exit_code, 1);
    EXPECT_TRUE(holds(before.err, "its state at `2001-01-01` isn't kept; the oldest state"))
        << before.err;
    EXPECT_EQ(on_store({"journal", "stop"}).exit_code, 0);
    const Outcome number = on_store({"show", "ldap_conn", "--at", "1"});
    EXPECT_EQ(number.exit_code, 1);
    EXPECT_TRUE(holds(number.err, "`tarnctl journal start`")) << number.err;
    EXPECT_EQ(on_store({"set", "ldap_conn", "a.example", "num_conns=40"}).exit_code, 0);
    let_time_pass();
    const Outcome time = on_store({"show", "ldap_conn", "--at", "-0s"});
    EXPECT_EQ(time.exit_code, 1);
    EXPECT_TRUE(holds(time.err, "doesn't keep the times")) << time.err;
}

TEST_F(At, AMomentMustBePast) {
    EXPECT_EQ(on_store({"show", "ldap_conn", "--at", "999999"}).exit_code, 4);
    const Outcome later = on_store({"show", "ldap_conn", "--at", "2199-01-01"});
    EXPECT_EQ(later.exit_code, 2);
    EXPECT_TRUE(holds(later.err, "--at 2199-01-01: that is in the future")) << later.err;
    const Outcome wrong = on_store({"show", "ldap_conn", "--at", "yesterday"});
    EXPECT_EQ(wrong.exit_code, 2);
    EXPECT_TRUE(holds(wrong.err, "expected the number of a transaction, a time")) << wrong.err;
}

TEST_F(At, TwoMomentsOfOneStoreAreCompared) {
    const std::string first = set(10);
    const std::string second = set(20);
    set(30);
    const Outcome both = tarnctl({"diff", store, "--at", first, "--at", second});
    EXPECT_EQ(both.exit_code, 1) << both.err;
    EXPECT_EQ(both.out, "--- " + store + " at " + first + "\n+++ " + store + " at " + second +
                            "\n~ tbl_ldap_conn:ldap a.example\n    num_conns: 10 -> 20\n");
    const Outcome now = tarnctl({"diff", store, "--at", first});
    EXPECT_TRUE(holds(now.out, "num_conns: 10 -> 30")) << now.out << now.err;
    EXPECT_EQ(tarnctl({"diff", store, "--at", first, "--at", first}).exit_code, 0);
    EXPECT_EQ(tarnctl({"diff", store}).exit_code, 2);
    EXPECT_EQ(tarnctl({"diff", store, "--at", "1", "--at", "2", "--at", "3"}).exit_code, 2);
    const std::string document = directory / "net.frames";
    out_of({"export", "-o", document});
    EXPECT_EQ(tarnctl({"diff", document, store, "--at", first}).exit_code, 2);
}

}  // namespace
}  // namespace tarnctl_test
