// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/process.h"
#include "tests/support/temporary_directory.h"

namespace tarn::test {
namespace {

constexpr const char *kAccept = "5f0e1234 conn=1 fd=9 ACCEPT from IP=1.1.1.1:1 (IP=2.2.2.2:389)\n";

class LdapShow : public testing::Test {
 protected:
    void keep(const std::string &server, const std::string &log = kAccept) {
        const Outcome outcome = run({TARN_LDAP, "--store", store, "--server", server}, log);
        ASSERT_EQ(outcome.exit_code, 0) << outcome.err;
    }
    Outcome show(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {LDAP_SHOW, "--store", store});
        return run(std::move(arguments));
    }
    // Replaces the first `from` in the XML file.
    void edit(const std::string &from, const std::string &to) {
        std::string text = read_file(xml);
        const size_t place = text.find(from);
        ASSERT_NE(place, std::string::npos) << from << " in " << text;
        write_file(xml, text.replace(place, from.size(), to));
    }

    TemporaryDirectory directory;
    std::string store = directory / "store";
    std::string xml = directory / "tables.xml";
};

TEST_F(LdapShow, TablesAreShownInKeyOrder) {
    keep("server-b");
    keep("server-a");
    keep("shorter");
    const Outcome outcome = show({});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    const std::string conn = outcome.out.substr(outcome.out.find("tbl_ldap_conn: "));
    EXPECT_EQ(conn,
              "tbl_ldap_conn: 3 records\n"
              "record@tbl_ldap_conn: {\n"
              "  st_ldap_conn@st_ldap_conn: {\n"
              "    sname: \"shorter\"\n"
              "    num_conns: 1\n"
              "  }\n"
              "}\n"
              "record@tbl_ldap_conn: {\n"
              "  st_ldap_conn@st_ldap_conn: {\n"
              "    sname: \"server-a\"\n"
              "    num_conns: 1\n"
              "  }\n"
              "}\n"
              "record@tbl_ldap_conn: {\n"
              "  st_ldap_conn@st_ldap_conn: {\n"
              "    sname: \"server-b\"\n"
              "    num_conns: 1\n"
              "  }\n"
              "}\n");
    EXPECT_TRUE(outcome.out.starts_with("tbl_ldap_stats: 3 records\n"));
    EXPECT_NE(outcome.out.find("\ntbl_ldap_summary: 3 records\n"), std::string::npos);
}

TEST_F(LdapShow, XmlIsWrittenToAFileOrToStandardOutput) {
    keep("one");
    const Outcome printed = show({"--xml"});
    EXPECT_EQ(printed.exit_code, 0) << printed.err;
    EXPECT_TRUE(printed.out.starts_with("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ldap>\n"));
    EXPECT_TRUE(printed.out.ends_with("</ldap>\n"));
    EXPECT_EQ(show({"--xml", "--output", xml}).exit_code, 0);
    EXPECT_EQ(read_file(xml), printed.out);
}

TEST_F(LdapShow, XmlReadBackIntoASecondStoreComparesEqual) {
    keep("one", read_file(RECORDING));
    keep("a <name> that \"XML\" must & will 'escape'");
    keep("a long name, far beyond what lies in the object itself: " + std::string(5000, 'x'));
    ASSERT_EQ(show({"--xml", "--output", xml}).exit_code, 0);
    const Outcome outcome = show({"--verify", xml});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "9 records equal, 0 different\n");
}

TEST_F(LdapShow, ACopyIsAStoreWithTheSameTables) {
    keep("one", read_file(RECORDING));
    keep("two");
    const std::string copy = directory / "copy";
    const Outcome outcome = show({"--copy-to", copy});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "6 records equal, 0 different\n");
    EXPECT_EQ(run({LDAP_SHOW, "--store", copy, "--xml"}).out, show({"--xml"}).out);
    EXPECT_EQ(run({LDAP_SHOW, "--store", copy}).out, show({}).out);
    // An existing store is never overwritten.
    EXPECT_EQ(show({"--copy-to", copy}).exit_code, 5);
}

TEST_F(LdapShow, FieldsThatDifferAreNamed) {
    keep("one", read_file(RECORDING));
    ASSERT_EQ(show({"--xml", "--output", xml}).exit_code, 0);
    edit("<total_msg_sent>33<", "<total_msg_sent>34<");
    edit("<bind_fail>1<", "<bind_fail>0<");
    const Outcome outcome = show({"--verify", xml});
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_EQ(outcome.out,
              "2 records equal, 1 different\n"
              "tbl_ldap_stats one: other total_msg_sent, bind_fail\n");
}

TEST_F(LdapShow, RecordsOfOnlyOneStoreAreNamed) {
    keep("one");
    keep("two");
    ASSERT_EQ(show({"--xml", "--output", xml}).exit_code, 0);
    std::string text = read_file(xml);
    const size_t conn = text.find("<tbl_ldap_conn>");
    ASSERT_NE(conn, std::string::npos);
    write_file(xml, text.replace(text.find("<sname>one<", conn), 11, "<sname>six<"));
    const Outcome outcome = show({"--verify", xml});
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_EQ(outcome.out,
              "5 records equal, 2 different\n"
              "tbl_ldap_conn one: only in the first store\n"
              "tbl_ldap_conn six: only in the second store\n");
}

TEST_F(LdapShow, AFileThatIsNoXmlOfTheTablesIsRefused) {
    keep("one");
    ASSERT_EQ(show({"--xml", "--output", xml}).exit_code, 0);
    const std::string good = read_file(xml);
    const std::string copy = directory / "copy";
    for (const std::string &bad :
         {std::string("no XML"), std::string("<other/>"), good.substr(0, good.size() / 2)}) {
        write_file(xml, bad);
        const Outcome outcome = show({"--verify", xml, "--copy-to", copy});
        EXPECT_EQ(outcome.exit_code, 3) << bad;
        EXPECT_NE(outcome.err, "ldap_show: \n") << bad;
        EXPECT_FALSE(std::filesystem::exists(copy)) << bad;
    }
}

TEST_F(LdapShow, AValueThatIsNoNumberIsRefused) {
    keep("one");
    ASSERT_EQ(show({"--xml", "--output", xml}).exit_code, 0);
    edit("<num_conns>1<", "<num_conns>many<");
    const Outcome outcome = show({"--verify", xml});
    EXPECT_EQ(outcome.exit_code, 3);
    EXPECT_NE(outcome.err.find("a record of tbl_ldap_conn can't be read"), std::string::npos)
        << outcome.err;
}

TEST_F(LdapShow, ADuplicateRecordIsRefused) {
    keep("one");
    ASSERT_EQ(show({"--xml", "--output", xml}).exit_code, 0);
    const std::string text = read_file(xml);
    const size_t start = text.find("<tbl_ldap_conn>");
    const size_t end = text.find("</ldap>");
    write_file(xml, text.substr(0, end) + text.substr(start, end - start) + "</ldap>\n");
    const Outcome outcome = show({"--verify", xml});
    EXPECT_EQ(outcome.exit_code, 5);
    EXPECT_NE(outcome.err.find("one: inserting in tbl_ldap_conn: the key already exists"),
              std::string::npos)
        << outcome.err;
}

TEST_F(LdapShow, EntitiesOfAFileAreNotExpanded) {
    keep("one");
    ASSERT_EQ(show({"--xml", "--output", xml}).exit_code, 0);
    write_file(directory / "secret", "77");
    edit("<ldap>",
         "<!DOCTYPE ldap [<!ENTITY e SYSTEM \"" + (directory / "secret") + "\">]>\n<ldap>");
    edit("<num_conns>1<", "<num_conns>&e;<");
    const Outcome outcome = show({"--verify", xml});
    EXPECT_NE(outcome.exit_code, 0);
    EXPECT_EQ(outcome.out.find("77"), std::string::npos);
}

TEST_F(LdapShow, AStoreWithoutTablesIsEmpty) {
    keep("one");
    ASSERT_EQ(show({"--xml", "--output", xml}).exit_code, 0);
    write_file(xml, "<ldap/>");
    const std::string empty = directory / "empty";
    EXPECT_EQ(show({"--verify", xml, "--copy-to", empty}).exit_code, 1);
    EXPECT_EQ(run({LDAP_SHOW, "--store", empty}).out,
              "tbl_ldap_stats: 0 records\ntbl_ldap_summary: 0 records\ntbl_ldap_conn: 0 records\n");
}

TEST_F(LdapShow, TheHistoryOfAJournalSaysWhichLinesHaveChangedWhat) {
    const std::string log = directory / "log";
    const std::string bind = "5f0e1234 conn=1 op=0 BIND dn=\"\" method=128\n";
    write_file(log, kAccept + bind);
    const std::vector<std::string> stats = {TARN_LDAP,  "--journal", "--store",   store,
                                            "--server", "ldap1",     "--recount", log};
    ASSERT_EQ(run(stats).exit_code, 0);
    write_file(log, kAccept + bind + bind);
    ASSERT_EQ(run(stats).exit_code, 0);
    const Outcome history = show({"--history"});
    EXPECT_EQ(history.exit_code, 0) << history.err;
    EXPECT_NE(history.out.find("total_msg_sent none -> 1, total_bind_req none -> 1\n"),
              std::string::npos)
        << history.out;
    EXPECT_NE(history.out.find("log:1-3) ldap1: total_msg_sent 1 -> 2, total_bind_req 1 -> 2\n"),
              std::string::npos)
        << history.out;

    const std::string first = history.out.substr(0, history.out.find(' '));
    const Outcome then = show({"--at", first});
    EXPECT_EQ(then.exit_code, 0) << then.err;
    EXPECT_NE(then.out.find("total_bind_req: 1\n"), std::string::npos) << then.out;
    EXPECT_NE(show({}).out.find("total_bind_req: 2\n"), std::string::npos);
}

TEST_F(LdapShow, FilesThatCannotBeReadOrWrittenAreNamed) {
    EXPECT_EQ(show({}).exit_code, 5);
    EXPECT_NE(show({}).err.find(store), std::string::npos);
    keep("one");
    const Outcome missing = show({"--verify", xml});
    EXPECT_EQ(missing.exit_code, 4);
    EXPECT_NE(missing.err.find(xml + ": No such file"), std::string::npos) << missing.err;
    EXPECT_EQ(show({"--output", directory / "no/such/place"}).exit_code, 4);
}

TEST_F(LdapShow, WrongArgumentsAreRefused) {
    EXPECT_EQ(run({LDAP_SHOW}).exit_code, 2);
    EXPECT_EQ(show({"--xml", "--verify", xml}).exit_code, 2);
    EXPECT_EQ(show({"--history", "--xml"}).exit_code, 2);
    EXPECT_EQ(show({"--at", "noon"}).exit_code, 2);
    EXPECT_EQ(run({LDAP_SHOW, "--help"}).exit_code, 0);
    EXPECT_TRUE(run({LDAP_SHOW, "--version"}).out.starts_with("ldap_show "));
}

}  // namespace
}  // namespace tarn::test
