// SPDX-License-Identifier: Apache-2.0
//
// Output that is different on a terminal and in a pipe.
#include <algorithm>
#include <clocale>
#include <fstream>
#include <sstream>

#include "tests/tarnctl/pseudo_terminal.h"
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

class OnTerminal : public WithStore {
 protected:
    TerminalOutcome seen(std::vector<std::string> arguments,
                         const Terminal &terminal = Terminal()) {
        arguments.insert(arguments.end(), {"--store", store});
        return on_terminal(arguments, terminal);
    }
    // As `seen`, without colours, so that a line's bytes are its cells.
    TerminalOutcome plain(std::vector<std::string> arguments, Terminal terminal = Terminal()) {
        terminal.environment["NO_COLOR"] = "1";
        return seen(std::move(arguments), terminal);
    }
    static std::size_t widest(const std::string &text) {
        std::istringstream lines(text);
        std::size_t width = 0;
        for (std::string line; std::getline(lines, line);) width = std::max(width, line.size());
        return width;
    }
};

TEST_F(OnTerminal, ATableHasColouredTitlesAndACount) {
    const TerminalOutcome outcome = seen({"show", "ldap_conn", "--tenant", "9", "-c", "sname"});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_EQ(outcome.written, "\x1b[1msname\x1b[0m\nc.example\n\x1b[2m1 record\x1b[0m\n");
}

TEST_F(OnTerminal, NothingIsColouredIfColoursAreOff) {
    const std::vector<std::string> show = {"show", "ldap_conn", "--tenant", "9", "-c", "sname"};
    const std::string expected = "sname\nc.example\n1 record\n";
    EXPECT_EQ(seen(show, {80, "C.UTF-8", {{"NO_COLOR", "1"}}}).written, expected);
    EXPECT_EQ(seen(show, {80, "C.UTF-8", {{"TERM", "dumb"}}}).written, expected);
    EXPECT_EQ(
        seen({"--color", "never", "show", "ldap_conn", "--tenant", "9", "-c", "sname"}).written,
        expected);
}

TEST_F(OnTerminal, TheListOfTablesShowsHowManyColumnsAreHidden) {
    const std::string written = plain({"tables", "ldap_*"}, {60, "C.UTF-8", {}}).written;
    EXPECT_LE(widest(written), 60U);
    EXPECT_TRUE(holds(written, " hidden: --json or a wider screen shows them\n")) << written;
}

TEST_F(OnTerminal, ATableOmitsColumnsToFitTheWidth) {
    const std::string narrow = plain({"show", "aaa_servers"}, {80, "C.UTF-8", {}}).written;
    EXPECT_LE(widest(narrow), 80U);
    EXPECT_TRUE(holds(narrow, "radius1"));
    EXPECT_TRUE(holds(narrow, " columns hidden: --columns or --format list shows them\n"))
        << narrow;
    const std::string wide = plain({"show", "aaa_servers"}, {200, "C.UTF-8", {}}).written;
    EXPECT_LE(widest(wide), 200U);
    EXPECT_GT(widest(wide), widest(narrow));
}

TEST_F(OnTerminal, ATablePrefersColumnsWithInformation) {
    const std::string out = plain({"show", "aaa_servers"}, {100, "C.UTF-8", {}}).written;
    EXPECT_TRUE(holds(out, "aaa_authen.requests")) << out;
    EXPECT_TRUE(holds(out, "SHOW_AAA_SERVER_ALIVE")) << out;
    EXPECT_TRUE(holds(out, "1440 values")) << out;
}

TEST_F(OnTerminal, ATableWhoseRowsDoNotFitIsAList) {
    const Terminal narrow{24, "C.UTF-8", {}};
    const std::string out = plain({"show", "aaa_servers"}, narrow).written;
    EXPECT_TRUE(holds(out, "\naaa_authen.requests ")) << out;
    EXPECT_TRUE(holds(out, "SHOW_AAA_SERVER_ALIVE (")) << out;
    const std::vector<std::string> chosen = {"show", "aaa_servers", "-c", "sname,aaa_authen"};
    EXPECT_TRUE(holds(plain(chosen, narrow).written, "\naaa_authen.requests "));
    const std::string table = plain({"show", "aaa_servers", "--format", "table"}, narrow).written;
    EXPECT_TRUE(holds(table, " columns hidden")) << table;
}

TEST_F(OnTerminal, ChosenColumnsAreTruncatedToFit) {
    const std::vector<std::string> show = {"show", "ldap_conn", "-c", "sname,num_conns"};
    EXPECT_TRUE(holds(plain(show, {20, "C.UTF-8", {}}).written, "ldap1.ex\u2026          7\n"));
    EXPECT_TRUE(holds(plain(show, {20, "C", {}}).written, "ldap1....          7\n"));
}

TEST_F(OnTerminal, TheEnvironmentsColumnsAreItsWidth) {
    const std::vector<std::string> show = {"show", "ldap_conn", "-c", "sname,num_conns"};
    EXPECT_TRUE(holds(plain(show, {80, "C.UTF-8", {{"COLUMNS", "20"}}}).written, "ldap1.ex\u2026"));
    EXPECT_FALSE(holds(plain(show, {80, "C.UTF-8", {{"COLUMNS", "none"}}}).written, "\u2026"));
}

TEST_F(OnTerminal, LettersBeyondAsciiAreShownIfTheLocaleHasThem) {
    ASSERT_EQ(on_store({"insert", "--create", "ldap_conn:letters", "sname=caf\u00e9"}).exit_code,
              0);
    const std::vector<std::string> show = {"show", "ldap_conn:letters", "-c", "sname"};
    EXPECT_TRUE(holds(plain(show).written, "caf\u00e9\n"));
    EXPECT_TRUE(holds(plain(show, {80, "C", {}}).written, "caf\\u{e9}\n"));
}

TEST_F(OnTerminal, DataIsEscapedInEveryForm) {
    ASSERT_EQ(on_store({"insert", "--create", "ldap_conn:odd", "sname=a\x1b]0;b\x07"}).exit_code,
              0);
    for (const char *form : {"table", "list", "text", "json", "csv"}) {
        const TerminalOutcome outcome = plain({"show", "ldap_conn:odd", "--format", form});
        EXPECT_EQ(outcome.exit_code, 0) << form;
        EXPECT_EQ(outcome.written.find_first_of("\x1b\x07"), std::string::npos) << form;
    }
    const TerminalOutcome field =
        plain({"get", "ldap_conn:odd", "a\x1b]0;b\x07", "--field", "sname"});
    EXPECT_EQ(field.written, "a\\x1b]0;b\\x07\n");
    const Outcome piped = on_store({"get", "ldap_conn:odd", "a\x1b]0;b\x07", "--field", "sname"});
    EXPECT_EQ(piped.out, "a\x1b]0;b\x07\n");
}

TEST_F(OnTerminal, OutputGoesThroughThePager) {
    const Terminal terminal{80, "C.UTF-8", {{"PAGER", "sed 's/^/> /'"}}};
    const std::vector<std::string> show = {"show", "ldap_conn", "--tenant", "9", "-c", "sname"};
    EXPECT_EQ(plain(show, terminal).written, "> sname\n> c.example\n> 1 record\n");
    EXPECT_EQ(plain({"get", "ldap_conn", "a.example", "-c", "num_conns"}, terminal).written,
              "> num_conns  1\n");
    EXPECT_EQ(plain({"find", "ldap_conn", "num_conns=3", "-c", "sname"}, terminal).written,
              "> sname\n> c.example\n> 1 record\n");
}

TEST_F(OnTerminal, NoPagerIsUsedIfItIsOff) {
    const std::vector<std::string> show = {"show", "ldap_conn", "--tenant", "9", "-c", "sname"};
    const std::string expected = "sname\nc.example\n1 record\n";
    std::vector<std::string> unpaged = show;
    unpaged.insert(unpaged.begin(), "--no-pager");
    EXPECT_EQ(plain(unpaged, {80, "C.UTF-8", {{"PAGER", "sed 's/^/> /'"}}}).written, expected);
    EXPECT_EQ(plain(show, {80, "C.UTF-8", {{"PAGER", ""}}}).written, expected);
    // Not in a pipe either, whatever the environment says.
    EXPECT_EQ(on_store({"show", "ldap_conn", "--tenant", "9", "-c", "sname"}).out,
              "sname\nc.example\n");
}

TEST_F(OnTerminal, ErrorsComeAfterThePagersOutput) {
    const Terminal terminal{80, "C.UTF-8", {{"PAGER", "sed 's/^/> /'"}}};
    const TerminalOutcome outcome =
        plain({"find", "ldap_conn", "num_conns=99", "--format", "csv", "-c", "sname"}, terminal);
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_EQ(outcome.written,
              "> sname\ntarnctl: no such record in tbl_ldap_conn:ldap: `num_conns=99`\n");
}

TEST_F(OnTerminal, QuittingThePagerEarlyIsNoError) {
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(on_store({"insert", "--create", "ldap_conn:many",
                            "sname=" + std::to_string(i) + std::string(100000, 'x')})
                      .exit_code,
                  0);
    const TerminalOutcome outcome = plain({"show", "ldap_conn:many", "--format", "csv"},
                                          {80, "C.UTF-8", {{"PAGER", "head -n 1"}}});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_EQ(outcome.written, "tenant,source,sname,num_conns\n");
}

TEST_F(OnTerminal, APagerThatCannotBeRunIsNamed) {
    const TerminalOutcome outcome =
        plain({"show", "ldap_conn"}, {80, "C.UTF-8", {{"PAGER", "no-such-pager"}}});
    EXPECT_TRUE(holds(outcome.written, "no-such-pager")) << outcome.written;
}

TEST_F(OnTerminal, HiddenShadowsAreCounted) {
    ASSERT_EQ(
        on_store({"insert", "--create", "ldap_conn:shade", "sname=a", "--source", "255"}).exit_code,
        0);
    EXPECT_TRUE(holds(plain({"show", "ldap_conn:shade"}).written,
                      "0 records; 1 shadow hidden: --shadows\n"));
    EXPECT_TRUE(holds(plain({"show", "ldap_conn:shade", "--shadows"}).written, "\n1 record\n"));
}

}  // namespace
}  // namespace tarnctl_test
