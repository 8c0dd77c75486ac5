// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "tests/support/json.h"
#include "tests/support/process.h"
#include "tests/support/temporary_directory.h"

namespace tarn::test {
namespace {

using Json = nlohmann::json;

class TarnLdap : public testing::Test {
 protected:
    Outcome tarn_ldap(std::vector<std::string> arguments, const std::string &input = "") {
        arguments.insert(arguments.begin(), {TARN_LDAP, "--store", store});
        return run(std::move(arguments), input);
    }

    TemporaryDirectory directory;
    std::string store = directory / "store";
};

TEST_F(TarnLdap, TheRecordingIsSummedUp) {
    const Outcome outcome = tarn_ldap({RECORDING});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.out,
              "read        93 lines, 0 malformed\n"
              "server      ldap://127.0.0.1:3389, stopped, 0 connections open, request timeout 0\n"
              "messages    33 sent, 36 received\n"
              "binds       11 requests, 11 results, 10 succeeded, 1 failed\n"
              "searches    7 requests, 7 results, 14 entries, 7 succeeded, 0 failed\n"
              "compares    1 requests, 1 results, 0 missing attributes\n"
              "extended    1 requests, 1 results\n"
              "delay       303 us on average, 1658 us at most\n");
}

TEST_F(TarnLdap, StandardInputAndAFileGiveTheSame) {
    const std::string log = read_file(RECORDING);
    const Outcome file = tarn_ldap({"--json", RECORDING});
    std::filesystem::remove_all(store);
    const Outcome named = tarn_ldap({"--json", "-"}, log);
    std::filesystem::remove_all(store);
    const Outcome unnamed = tarn_ldap({"--json"}, log);
    EXPECT_EQ(file.exit_code, 0);
    EXPECT_EQ(json_of(file.out)["lines"], 93);
    EXPECT_EQ(named.out, file.out);
    EXPECT_EQ(unnamed.out, file.out);
}

TEST_F(TarnLdap, ALogInTwoPartsGivesTheSameAsInOne) {
    const std::string log = read_file(RECORDING);
    const size_t middle = log.find("conn=1005");
    ASSERT_NE(middle, std::string::npos);
    const size_t start_of_line = log.rfind('\n', middle) + 1;
    Json whole = json_of(tarn_ldap({"--json", RECORDING}).out);
    std::filesystem::remove_all(store);
    const Outcome first = tarn_ldap({"--json"}, log.substr(0, start_of_line));
    EXPECT_EQ(json_of(first.out)["tbl_ldap_summary"]["status"], true);
    Json second = json_of(tarn_ldap({"--json"}, log.substr(start_of_line)).out);
    for (const char *part : {"lines", "malformed"}) {
        whole.erase(part);
        second.erase(part);
    }
    Json &mean = second["tbl_ldap_stats"]["avg_resp_delay"];
    EXPECT_NEAR(mean.get<double>(), whole["tbl_ldap_stats"]["avg_resp_delay"].get<double>(), 1);
    mean = whole["tbl_ldap_stats"]["avg_resp_delay"];
    EXPECT_EQ(second, whole);
}

TEST_F(TarnLdap, MalformedLinesAreReportedAndSkipped) {
    const std::string path = directory / "log";
    const std::string log = read_file(RECORDING);
    const size_t end_of_third = log.find('\n', log.find("slapd starting")) + 1;
    write_file(path, log.substr(0, end_of_third) + "out of place\n" + log.substr(end_of_third) +
                         "6b00fd0a.1 0x1 conn=5 op=1 RESULT tag=97 err=\n");
    const Outcome outcome = tarn_ldap({"--json", path});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_EQ(outcome.err,
              path +
                  ":4: found \"out of place\", expected a line of slapd's: TIME THREAD "
                  "MESSAGE, or syslog's slapd[PID]: \n" +
                  path + ":95: found \"\", expected the number of an LDAP result\n");
    Json json = json_of(outcome.out);
    EXPECT_EQ(json["lines"], 95);
    EXPECT_EQ(json["malformed"], 2);
    EXPECT_EQ(json["tbl_ldap_stats"]["total_bind_resp"], 11);
}

TEST_F(TarnLdap, MalformedLinesAreAFailureInStrictMode) {
    const std::string log = read_file(RECORDING);
    EXPECT_EQ(tarn_ldap({"--strict"}, log).exit_code, 0);
    EXPECT_EQ(tarn_ldap({"--strict"}, log + "nonsense\n").exit_code, 1);
}

TEST_F(TarnLdap, ATextThatIsNoSlapdLogIsRefused) {
    const Outcome outcome = tarn_ldap({"-"}, "Dear Sir or Madam,\nthis is a letter.\n");
    EXPECT_EQ(outcome.exit_code, 3);
    EXPECT_EQ(outcome.out, "");
    EXPECT_TRUE(outcome.err.starts_with("tarn-ldap: standard input is no slapd log"))
        << outcome.err;
    EXPECT_FALSE(std::filesystem::exists(store));
}

// The checkpoints and the log of a store, by name.
std::map<std::string, std::string> committed_files(const std::string &store) {
    std::map<std::string, std::string> files;
    for (const auto &entry : std::filesystem::directory_iterator(store)) {
        const std::string name = entry.path().filename();
        if (name.find('-') != std::string::npos) files[name] = read_file(entry.path());
    }
    return files;
}

TEST_F(TarnLdap, AnotherTextKeepsTheStore) {
    ASSERT_EQ(tarn_ldap({RECORDING}).exit_code, 0);
    const std::map<std::string, std::string> before = committed_files(store);
    EXPECT_EQ(tarn_ldap({TARN_LDAP}).exit_code, 3);
    EXPECT_EQ(committed_files(store), before);
}

TEST_F(TarnLdap, AnEmptyLogIsNoErrorAndStoresNothing) {
    const Outcome outcome = tarn_ldap({"--json"});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_EQ(json_of(outcome.out), json_of(R"({"server":null,"lines":0,"malformed":0})"));
    EXPECT_FALSE(std::filesystem::exists(store));
}

TEST_F(TarnLdap, AMissingLogIsNamed) {
    const std::string path = directory / "missing";
    const Outcome outcome = tarn_ldap({path});
    EXPECT_EQ(outcome.exit_code, 4);
    EXPECT_EQ(outcome.err, "tarn-ldap: " + path + ": No such file or directory\n");
    EXPECT_EQ(tarn_ldap({directory / "."}).exit_code, 4);
}

TEST_F(TarnLdap, AFileThatIsNoStoreIsNamedAndKept) {
    write_file(store, "no store");
    const Outcome outcome = tarn_ldap({RECORDING});
    EXPECT_EQ(outcome.exit_code, 5);
    EXPECT_NE(outcome.err.find(store), std::string::npos) << outcome.err;
    EXPECT_EQ(read_file(store), "no store");
}

TEST_F(TarnLdap, TheServersNameAndTimeoutCanBeGiven) {
    const Outcome outcome = tarn_ldap({"--server", "main", "--timeout", "30", "--json", RECORDING});
    const Json json = json_of(outcome.out);
    EXPECT_EQ(json["server"], "main");
    EXPECT_EQ(json["tbl_ldap_summary"]["req_timeout"], 30);
}

TEST_F(TarnLdap, WrongArgumentsAreRefused) {
    EXPECT_EQ(run({TARN_LDAP}).exit_code, 2);
    EXPECT_EQ(tarn_ldap({"--from-end", RECORDING}).exit_code, 2);
    EXPECT_EQ(tarn_ldap({"--timeout", "-1", RECORDING}).exit_code, 2);
    EXPECT_EQ(tarn_ldap({"--frobnicate"}).exit_code, 2);
    EXPECT_FALSE(std::filesystem::exists(store));
}

TEST_F(TarnLdap, HelpListsTheCountersAndTheExitCodes) {
    const Outcome help = run({TARN_LDAP, "--help"});
    EXPECT_EQ(help.exit_code, 0);
    for (const char *text : {"--store", "sent ", "received ", "Exit status:\n  0 "})
        EXPECT_NE(help.out.find(text), std::string::npos) << text;
    const Outcome version = run({TARN_LDAP, "--version"});
    EXPECT_EQ(version.exit_code, 0);
    EXPECT_TRUE(version.out.starts_with("tarn-ldap "));
}

}  // namespace
}  // namespace tarn::test
