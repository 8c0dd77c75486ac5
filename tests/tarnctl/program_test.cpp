// SPDX-License-Identifier: Apache-2.0
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

TEST(Program, PrintsItsVersionAndItsCommands) {
    const Outcome version = tarnctl({"--version"});
    EXPECT_EQ(version.exit_code, 0);
    EXPECT_EQ(version.out.substr(0, 8), "tarnctl ");
    const Outcome help = tarnctl({"--help"});
    EXPECT_EQ(help.exit_code, 0);
    for (const char *command : {"show", "get", "find", "insert", "set", "delete", "export",
                                "import", "diff", "watch", "decode", "minutes"})
        EXPECT_NE(help.out.find(std::string("\n  ") + command), std::string::npos) << command;
    EXPECT_EQ(help.err, "");
}

TEST(Program, SuggestsASimilarCommand) {
    const Outcome outcome = tarnctl({"shwo", "ldap_conn"});
    EXPECT_EQ(outcome.exit_code, 2);
    EXPECT_EQ(outcome.err,
              "tarnctl: no command `shwo`; did you mean `show`?\nTry `tarnctl --help`.\n");
    EXPECT_EQ(outcome.out, "");
}

TEST(Program, ReportsInvalidArgumentsAndRefersToTheHelp) {
    const Outcome missing = tarnctl({"show"});
    EXPECT_EQ(missing.exit_code, 2);
    EXPECT_EQ(missing.err.substr(0, 9), "tarnctl: ");
    EXPECT_NE(missing.err.find("Try `tarnctl show --help`."), std::string::npos) << missing.err;
    const Outcome none = tarnctl({});
    EXPECT_EQ(none.exit_code, 2);
    EXPECT_NE(none.err.find("Try `tarnctl --help`."), std::string::npos) << none.err;
}

TEST(Program, PrintsTheHelpOfACommand) {
    const Outcome help = tarnctl({"help", "show"});
    EXPECT_EQ(help.exit_code, 0);
    EXPECT_EQ(help.out, tarnctl({"show", "--help"}).out);
    EXPECT_EQ(tarnctl({"help"}).out, tarnctl({"--help"}).out);
    EXPECT_EQ(tarnctl({"help", "store", "create"}).out, tarnctl({"store", "create", "--help"}).out);
    const Outcome none = tarnctl({"help", "shwo"});
    EXPECT_EQ(none.exit_code, 2);
    EXPECT_EQ(none.err,
              "tarnctl: no command `shwo`; did you mean `show`?\nTry `tarnctl --help`.\n");
}

using Arguments = WithStore;

TEST_F(Arguments, WithInvalidValuesAreUsageErrors) {
    const std::vector<std::vector<std::string>> wrong = {
        {"show", "ldap_conn", "--where", "num_conns=abc"},
        {"find", "ldap_conn", "num_conns>-1"},
        {"find", "ldap_conn", "sname:hex=0"},
        {"get", "pexSessionEntry_op", "x", "s1", "0"},
        {"get", "ldap_conn", "sname:hex=0"},
        {"insert", "ldap_conn", "sname=new", "num_conns=abc"},
        {"set", "ldap_conn", "a.example", "num_conns=foo"},
        {"set", "ldap_conn", "a.example", "num_conns+=x"},
        {"set", "ldap_conn", "--where", "num_conns=abc", "num_conns=1"},
        {"delete", "ldap_conn", "--where", "num_conns=abc"},
    };
    for (const std::vector<std::string> &words : wrong) {
        const Outcome outcome = on_store(words);
        EXPECT_EQ(outcome.exit_code, 2) << words[0] << ' ' << words.back() << '\n' << outcome.err;
        EXPECT_NE(outcome.err.find(": expected "), std::string::npos) << outcome.err;
    }
}

TEST_F(Arguments, StoreMayPrecedeTheCommand) {
    const Outcome outcome =
        tarnctl({"--store", store, "get", "ldap_conn", "a.example", "--field", "num_conns"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "1\n");
    EXPECT_EQ(tarnctl({"--store", store, "describe", "ldap_conn"}).err,
              "tarnctl: `tarnctl describe` takes no --store\nTry `tarnctl describe --help`.\n");
}

TEST_F(Arguments, StoreNeedsAName) {
    for (const std::vector<std::string> &words :
         {std::vector<std::string>{"show", "ldap_conn", "--store", ""},
          {"import", "-", "--into", ""},
          {"store", "info", ""},
          {"store", "create", ""}}) {
        const Outcome outcome = tarnctl(words);
        EXPECT_EQ(outcome.exit_code, 2) << words[0];
        EXPECT_TRUE(holds(outcome.err, " ``: expected the name of a store\n")) << outcome.err;
    }
}

TEST_F(Arguments, ListsContainNoEmptyNames) {
    for (const char *option : {"--columns", "--sort", "--group-by", "--aggregate"}) {
        for (const char *value : {"", ",", "sname,", ",sname", "sname,,num_conns"}) {
            const Outcome outcome = on_store({"show", "ldap_conn", option, value});
            EXPECT_EQ(outcome.exit_code, 2) << option << ' ' << value;
            EXPECT_TRUE(holds(outcome.err, "`: expected words with commas between them\n"))
                << outcome.err;
        }
    }
}

}  // namespace
}  // namespace tarnctl_test
