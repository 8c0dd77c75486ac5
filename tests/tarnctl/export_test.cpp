// SPDX-License-Identifier: Apache-2.0
#include <filesystem>

#include "tests/support/json.h"
#include "tests/tarnctl/store_access.h"
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

using nlohmann::json;
using tarn::test::read_file;
using tarn::test::write_file;

using Export = WithStore;

TEST_F(Export, WritesXmlWithTenantSourceAndTableName) {
    const Outcome outcome = on_store({"export", "--format", "xml", "ldap_conn"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    const std::string beginning =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<tarnbase format=\"1\">\n"
        "<table type=\"tbl_ldap_conn\" name=\"ldap\">\n"
        "<record tenant=\"0\" source=\"1\">\n"
        "<tbl_ldap_conn>\n<st_ldap_conn>\n<sname>a.example</sname>\n<num_conns>1</num_conns>\n"
        "</st_ldap_conn>\n</tbl_ldap_conn>\n</record>\n";
    EXPECT_EQ(outcome.out.substr(0, beginning.size()), beginning);
    EXPECT_NE(outcome.out.find("<record tenant=\"0\" source=\"5\">"), std::string::npos);
    EXPECT_NE(outcome.out.find("<record tenant=\"9\" source=\"1\">"), std::string::npos);
    EXPECT_TRUE(outcome.out.ends_with("</table>\n</tarnbase>\n"));
    EXPECT_EQ(outcome.out.find("tbl_aaa_servers"), std::string::npos);
}

TEST_F(Export, WritesJsonWithOneRecordPerLine) {
    const Outcome outcome = on_store({"export", "--format", "json", "tbl_ldap_conn:ldap"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    const json document = tarn::test::json_of(outcome.out);
    const json &tables = document["tarnbase"]["tables"];
    EXPECT_EQ(document["tarnbase"]["format"], 1);
    ASSERT_EQ(tables.size(), 1U);
    EXPECT_EQ(tables[0]["table"], "tbl_ldap_conn");
    EXPECT_EQ(tables[0]["name"], "ldap");
    ASSERT_EQ(tables[0]["records"].size(), 5U);
    EXPECT_EQ(tables[0]["records"][0],
              tarn::test::json_of(
                  R"({"tenant":0,"source":1,"fields":{"sname":"a.example","num_conns":1}})"));
    EXPECT_NE(outcome.out.find("\n" + tables[0]["records"][0].dump().substr(0, 1)),
              std::string::npos);
}

TEST_F(Export, WritesATableThatIsNamedTwiceOnce) {
    const Outcome outcome =
        on_store({"export", "--format", "json", "tbl_ldap_conn:ldap", "ldap_conn"});
    EXPECT_EQ(tarn::test::json_of(outcome.out)["tarnbase"]["tables"].size(), 1U) << outcome.err;
}

TEST_F(Export, WritesAllTablesInTheFormOfTheFilesSuffix) {
    for (const char *suffix : {"xml", "json", "frames"}) {
        const std::string path = directory / (std::string("net.") + suffix);
        const Outcome outcome = on_store({"export", "-o", path});
        EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
        EXPECT_EQ(outcome.out, "");
    }
    EXPECT_TRUE(read_file(directory / "net.xml").starts_with("<?xml"));
    EXPECT_EQ(tarn::test::json_of(read_file(directory / "net.json"))["tarnbase"]["tables"].size(),
              5U);
    EXPECT_TRUE(read_file(directory / "net.frames").starts_with("TARNFRAM"));
}

TEST_F(Export, NamesTableKeyAndFieldThatXmlCannotRepresent) {
    add_connection(store, "ldap", std::string("bad\x01name", 8));
    const std::string path = directory / "net.xml";
    write_file(path, "the old one");
    const Outcome outcome = on_store({"export", "-o", path});
    EXPECT_EQ(outcome.exit_code, 3);
    for (const char *part :
         {"tbl_ldap_conn:ldap", "bad\\x01name", "sname", "0x01 at offset 3", "--escape", "--skip"})
        EXPECT_NE(outcome.err.find(part), std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.err.find("(ERR)"), std::string::npos) << outcome.err;
    EXPECT_EQ(read_file(path), "the old one");
    for (const auto &entry :
         std::filesystem::directory_iterator(std::filesystem::path(path).parent_path()))
        EXPECT_TRUE(entry.path() == path || entry.path() == store) << entry.path();
}

TEST_F(Export, IsJsonByDefault) {
    add_connection(store, "ldap", std::string("bad\x01name", 8));
    const Outcome outcome = on_store({"export"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, on_store({"export", "--format", "json"}).out);
    EXPECT_NE(outcome.out.find("bad\\u0001name"), std::string::npos);
}

TEST_F(Export, EscapesWhatXmlCannotRepresentForImport) {
    add_connection(store, "ldap", std::string("bad\x01na\\me\xff", 10));
    const std::string path = directory / "net.xml";
    Outcome outcome = on_store({"export", "-o", path, "--escape"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_NE(read_file(path).find("<sname escaped=\"true\">bad\\x01na\\\\me\\xff</sname>\n"),
              std::string::npos);
    const std::string copy = directory / "copy.store";
    ASSERT_EQ(tarnctl({"store", "create", copy}).exit_code, 0);
    outcome = tarnctl({"import", "--store", copy, path});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(tarnctl({"export", "--store", copy}).out, on_store({"export"}).out);
}

TEST_F(Export, SkipsWhatXmlCannotRepresentAndCountsIt) {
    add_connection(store, "ldap", std::string("bad\x01name", 8));
    const std::string path = directory / "net.xml";
    const Outcome outcome = on_store({"export", "-o", path, "--skip"});
    EXPECT_EQ(outcome.exit_code, 3);
    for (const char *part : {"tbl_ldap_conn:ldap: record `bad\\x01name`: sname: ", "; left out\n",
                             "tarnctl: 1 record left out\n"})
        EXPECT_NE(outcome.err.find(part), std::string::npos) << outcome.err;
    const std::string document = read_file(path);
    EXPECT_EQ(document.find("bad"), std::string::npos);
    EXPECT_NE(document.find("<sname>a.example</sname>"), std::string::npos);
    EXPECT_TRUE(document.ends_with("</tarnbase>\n"));
}

TEST_F(Export, HasNothingToEscapeOrSkipInOtherForms) {
    expect_refusals({{2, {"export", "--format", "json", "--escape"}, ""},
                     {2, {"export", "--format", "json", "--skip"}, ""},
                     {2, {"export", "--format", "xml", "--escape", "--skip"}, ""}});
}

TEST_F(Export, KeepsBytesThatAreNotTextInJson) {
    add_connection(store, "ldap", std::string("\xff\0", 2));
    const Outcome outcome = on_store({"export", "--format", "json", "ldap_conn"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_NE(outcome.out.find(R"("sname":{"hex":"ff00"})"), std::string::npos) << outcome.out;
}

TEST_F(Export, OfAMissingTableListsTheTables) {
    expect_refusals({{2, {"export", "tbl_ldap_con"}, "did you mean `tbl_ldap_conn`?"},
                     {1, {"export", "tbl_ldap_conn:other"}, "`tbl_ldap_conn:ldap`"},
                     {1, {"export", "tbl_ldap_stats"}, ""}});
}

TEST_F(Export, ThatCannotWriteItsFileNamesItAndTheError) {
    const std::string path = directory / "nowhere/net.xml";
    expect_refusals({{4, {"export", "-o", path}, path},
                     {4, {"export", "-o", "/dev/full"}, "/dev/full: No space left"}});
}

TEST_F(Export, RefusesAnUnknownFormat) {
    expect_refusals({{2, {"export", "--format", "yaml"}, "yaml"}});
}

TEST_F(Export, RefusesAnUnknownSuffix) {
    const std::string path = directory / "net.foo";
    expect_refusals({{2,
                      {"export", "-o", path},
                      "tarnctl: --output `" + path +
                          "`: expected a name that ends in .xml, .json, .yang.json or "
                          ".frames; --format chooses the form for any other\n"}});
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(on_store({"export", "-o", path, "--format", "json"}).exit_code, 0);
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(on_store({"export", "-o", directory / "net"}).exit_code, 0);
}

// A reader that represents numbers as doubles must not change them.
TEST_F(Export, WritesNumbersBeyondDoublesAsStringsInJson) {
    const Outcome made = on_store({"insert", "aaa_command_handler", "singleton_id=1", "--create",
                                   "cmd_account_logon=9007199254740992",
                                   "cmd_account_query=18446744073709551615", "--json"});
    ASSERT_EQ(made.exit_code, 0) << made.err;
    EXPECT_EQ(tarn::test::json_of(made.out)["changes"][0]["fields"]["cmd_account_query"]["new"],
              "18446744073709551615");
    const std::string document = on_store({"export", "--format", "json"}).out;
    EXPECT_TRUE(holds(document, R"("cmd_account_logon":9007199254740992,)")) << document;
    EXPECT_TRUE(holds(document, R"("cmd_account_query":"18446744073709551615",)")) << document;

    const std::string second = directory / "second.store";
    ASSERT_EQ(tarnctl({"store", "create", second}).exit_code, 0);
    const Outcome read = tarnctl({"import", "--store", second, "-"}, document);
    EXPECT_EQ(read.exit_code, 0) << read.err;
    EXPECT_EQ(tarnctl({"export", "--store", second, "--format", "json"}).out, document);
}

}  // namespace
}  // namespace tarnctl_test
