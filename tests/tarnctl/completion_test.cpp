// SPDX-License-Identifier: Apache-2.0
#include "tests/tarnctl/shell.h"
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

// What the scripts read: "words", "open" or "files", and the candidates.
class Completion : public WithStore {
 protected:
    static std::vector<std::string> candidates(const std::vector<std::string> &words) {
        std::string input;
        for (const std::string &each : words) input += each + '\0';
        const Outcome outcome = tarnctl({"completion", "--candidates"}, input);
        EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
        std::vector<std::string> found;
        for (std::size_t at = 0; at < outcome.out.size();) {
            const std::size_t end = outcome.out.find('\n', at);
            const std::string line = outcome.out.substr(at, end - at);
            found.push_back(line.substr(0, line.find('\t')));
            at = end + 1;
        }
        return found;
    }
};

using Words = std::vector<std::string>;

TEST_F(Completion, OffersCommandsAndTheCommandsWithinThem) {
    EXPECT_EQ(candidates({"desc"}), (Words{"words", "describe"}));
    EXPECT_EQ(candidates({"store", ""}),
              (Words{"words", "create", "info", "check", "salvage", "backup", "compact"}));
    EXPECT_EQ(candidates({"completion", "f"}), (Words{"words", "fish"}));
    EXPECT_EQ(candidates({"nothing", "x"}), (Words{"words"}));
}

TEST_F(Completion, OffersTheOptionsOfACommandAndOfTheProgram) {
    EXPECT_EQ(candidates({"store", "create", "--c"}), (Words{"words", "--capacity", "--color"}));
    EXPECT_EQ(candidates({"tables", "--color", "a"}), (Words{"words", "auto", "always"}));
    EXPECT_EQ(candidates({"tables", "--color=n"}), (Words{"words", "--color=never"}));
    EXPECT_EQ(candidates({"tables", "--", "--o"}), (Words{"words"}));
}

TEST_F(Completion, OffersTablesWithAndWithoutTheirPrefix) {
    EXPECT_EQ(candidates({"describe", "tbl_ldap_c"}), (Words{"words", "tbl_ldap_conn"}));
    EXPECT_EQ(candidates({"show", "ldap_c"}), (Words{"words", "ldap_conn"}));
    EXPECT_EQ(
        candidates({"show", "--store", store, "tbl_dot1xAuthC"}),
        (Words{"words", "tbl_dot1xAuthConfigEntry_op", "tbl_dot1xAuthConfigEntry_op:more_ports",
               "tbl_dot1xAuthConfigEntry_op:ports"}));
    EXPECT_EQ(candidates({"show", "--store", store, "ldap_conn:"}),
              (Words{"words", "ldap_conn:ldap"}));
}

TEST_F(Completion, OffersTypesWhereOneIsExpected) {
    EXPECT_EQ(candidates({"describe", "lumi_stat"}), (Words{"words", "lumi_stats"}));
    EXPECT_EQ(candidates({"describe", "kel_v"}), (Words{"words", "kel_vstring"}));
    EXPECT_EQ(candidates({"show", "lumi_stat"}), (Words{"words"}));
}

TEST_F(Completion, OffersTheFieldsOfTheTableThatIsNamed) {
    EXPECT_EQ(candidates({"find", "tbl_ldap_conn", "n"}), (Words{"open", "num_conns="}));
    EXPECT_EQ(candidates({"insert", "ldap_conn", "sname=x", "n"}), (Words{"open", "num_conns="}));
    EXPECT_EQ(candidates({"show", "ldap_conn", "--columns", "sname,n"}),
              (Words{"words", "sname,num_conns"}));
    EXPECT_EQ(candidates({"find", "no_table", "n"}), (Words{"words"}));
}

TEST_F(Completion, OffersTheEnumeratorsOfTheFieldThatIsNamed) {
    EXPECT_EQ(candidates({"find", "aaa_servers", "status=SHOW_AAA_SERVER_D"}),
              (Words{"words", "status=SHOW_AAA_SERVER_DEAD"}));
    EXPECT_EQ(candidates({"find", "aaa_servers", "status=DE"}), (Words{"words", "status=DEAD"}));
    EXPECT_EQ(candidates({"find", "ldap_summary", "status="}),
              (Words{"words", "status=true", "status=false"}));
    EXPECT_EQ(candidates({"find", "aaa_servers", "weather="}), (Words{"words"}));
    EXPECT_EQ(candidates({"show", "aaa_servers", "--where", "status!=DE"}),
              (Words{"words", "status!=DEAD"}));
    EXPECT_EQ(candidates({"get", "lumiIfcStatsEntry_op", "KEL_INTERFACE_CONTROLLER_STATE_H"}),
              (Words{"words", "KEL_INTERFACE_CONTROLLER_STATE_HELD"}));
}

TEST_F(Completion, LeavesFilesToTheShell) {
    EXPECT_EQ(candidates({"manifest", "lib"}), (Words{"files"}));
    EXPECT_EQ(candidates({"tables", "-s", ""}), (Words{"files"}));
    EXPECT_EQ(candidates({"tables", "--store="}), (Words{"files"}));
}

TEST_F(Completion, NeedsASupportedShell) {
    EXPECT_EQ(tarnctl({"completion"}).exit_code, 2);
    EXPECT_EQ(tarnctl({"completion", "csh"}).exit_code, 2);
}

// In the shells themselves: the line after some typed keys and a tab.
class InShell : public testing::TestWithParam<const char *> {
 protected:
    void SetUp() override {
        if (!has_shell(GetParam())) GTEST_SKIP() << "there is no " << GetParam() << " here";
    }
    std::string completed(const std::string &typed) { return complete_in(GetParam(), typed); }
};

TEST_P(InShell, ACommandIsCompleted) { EXPECT_EQ(completed("tarnctl desc"), "tarnctl describe "); }

TEST_P(InShell, ATableIsCompleted) {
    EXPECT_EQ(completed("tarnctl describe tbl_ldap_c"), "tarnctl describe tbl_ldap_conn ");
}

TEST_P(InShell, AFieldIsCompletedUpToItsValue) {
    EXPECT_EQ(completed("tarnctl find tbl_ldap_conn num"), "tarnctl find tbl_ldap_conn num_conns=");
}

TEST_P(InShell, AnEnumeratorIsCompletedAfterItsField) {
    EXPECT_EQ(completed("tarnctl find aaa_servers status=SHOW_AAA_SERVER_D"),
              "tarnctl find aaa_servers status=SHOW_AAA_SERVER_DEAD ");
}

TEST_P(InShell, AnInstanceIsCompletedAfterItsTable) {
    EXPECT_EQ(completed("tarnctl show -s net.store dot1xAuthConfigEntry_op:m"),
              "tarnctl show -s net.store dot1xAuthConfigEntry_op:more_ports ");
}

TEST_P(InShell, AFileIsCompletedWhereOneIsExpected) {
    // A store is a folder; fish adds a space.
    EXPECT_TRUE(completed("tarnctl store info net").starts_with("tarnctl store info net.store/"));
}

INSTANTIATE_TEST_SUITE_P(All, InShell, testing::Values("bash", "zsh", "fish"),
                         [](const auto &shell) { return std::string(shell.param); });

}  // namespace
}  // namespace tarnctl_test
