// SPDX-License-Identifier: Apache-2.0
#include "tests/support/json.h"
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

using nlohmann::json;
using tarn::test::read_file;
using tarn::test::write_file;

// XML of one table tbl_ldap_conn:ldap. The records begin in line 4.
std::string xml(const std::string &records) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<tarnbase format=\"1\">\n"
           "<table type=\"tbl_ldap_conn\" name=\"ldap\">\n" +
           records + "</table>\n</tarnbase>\n";
}

// A record in five lines.
std::string connection(const std::string &server, const std::string &connections) {
    return "<record tenant=\"0\" source=\"1\">\n<tbl_ldap_conn><st_ldap_conn>\n<sname>" + server +
           "</sname>\n<num_conns>" + connections +
           "</num_conns>\n</st_ldap_conn></tbl_ldap_conn></record>\n";
}

class Import : public WithStore {
 protected:
    void SetUp() override {
        WithStore::SetUp();
        ASSERT_EQ(tarnctl({"store", "create", copy}).exit_code, 0);
    }
    // Into the copy.
    Outcome import(const std::string &document, std::vector<std::string> options = {}) {
        write_file(path, document);
        options.insert(options.begin(), {"import", "--store", copy, path});
        return tarnctl(std::move(options));
    }
    std::string exported(const std::string &of) {
        return tarnctl({"export", "--format", "json", "--store", of}).out;
    }

    std::string copy = directory / "copy.store";
    std::string path = directory / "document";
};

TEST_F(Import, OfAnExportInEachFormCreatesTheSameStore) {
    for (const char *format : {"xml", "json", "frames"}) {
        const std::string target = directory / (std::string(format) + ".store");
        ASSERT_EQ(tarnctl({"store", "create", target}).exit_code, 0);
        const Outcome document = on_store({"export", "--format", format});
        const Outcome outcome = tarnctl({"import", "--into", target, "-"}, document.out);
        EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
        EXPECT_EQ(outcome.out, "11 records imported into 5 tables, 5 of them new\n");
        EXPECT_EQ(exported(target), exported(store));
    }
}

TEST_F(Import, ImportsOnlyTheChosenTables) {
    const Outcome document = on_store({"export"});
    Outcome outcome =
        import(document.out, {"--table", "tbl_dot1xAuthConfigEntry_op:ports", "-T", "aaa_servers"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "3 records imported into 2 tables, 2 of them new\n");
    outcome = import(document.out, {"--table", "tbl_ldap_conn:other"});
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_TRUE(holds(outcome.err, "holds no table `tbl_ldap_conn:other`")) << outcome.err;
}

TEST_F(Import, OfAnInvalidFileNamesTheLineAndKeepsTheStore) {
    const std::string before = exported(copy);
    const Outcome outcome =
        import(xml(connection("a", "1") + connection("b", "many") + connection("c", "3")));
    EXPECT_EQ(outcome.exit_code, 3);
    EXPECT_TRUE(holds(outcome.err, path + ":12: tbl_ldap_conn:ldap: num_conns: expected a number "
                                          "from 0 to 4294967295, not `many`"))
        << outcome.err;
    // The table that was made for it is gone too.
    EXPECT_EQ(exported(copy), before);
    EXPECT_FALSE(holds(before, "tbl_ldap_conn"));
}

TEST_F(Import, SkipsBadRecordsOnRequest) {
    const Outcome outcome = import(
        xml(connection("a", "1") + connection("b", "many") + connection("c", "3")), {"--skip-bad"});
    EXPECT_EQ(outcome.exit_code, 3);
    EXPECT_TRUE(holds(outcome.err, path + ":12: ")) << outcome.err;
    EXPECT_EQ(outcome.out, "2 records imported into 1 table, 1 of them new; 1 skipped\n");
    EXPECT_TRUE(holds(exported(copy), R"("sname":"c")"));
}

TEST_F(Import, OfAnExistingRecordFailsReplacesOrKeepsIt) {
    ASSERT_EQ(import(xml(connection("a", "1"))).exit_code, 0);
    const std::string again = xml(connection("new", "5") + connection("a", "2"));
    Outcome outcome = import(again);
    EXPECT_EQ(outcome.exit_code, 3);
    EXPECT_TRUE(holds(outcome.err, path + ":9: tbl_ldap_conn:ldap: the store has a record `a` of "
                                          "tenant 0 and source 1 already"))
        << outcome.err;
    EXPECT_FALSE(holds(outcome.err, "(ERR)")) << outcome.err;
    EXPECT_FALSE(holds(exported(copy), R"("sname":"new")"));

    outcome = import(again, {"--on-conflict", "keep"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "1 record imported into 1 table; 1 kept as they were\n");
    EXPECT_TRUE(holds(exported(copy), R"("sname":"a","num_conns":1)"));

    outcome = import(again, {"--on-conflict", "replace", "--json"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(tarn::test::json_of(outcome.out),
              tarn::test::json_of(
                  R"({"inserted":2,"replaced":2,"kept":0,"skipped":0,"tables":1,"made":0,
                              "dry_run":false})"));
    EXPECT_TRUE(holds(exported(copy), R"("sname":"a","num_conns":2)"));
}

TEST_F(Import, RefusesATableOfAnotherKindUnderAPath) {
    ASSERT_EQ(
        tarnctl({"insert", "--create", "--store", copy, "aaa_servers:net/shared", "sname=radius3"})
            .exit_code,
        0);
    const std::string before = exported(copy);
    std::string document = xml(connection("a", "1"));
    document.replace(document.find("\"ldap\""), 6, "\"net/shared\"");
    const Outcome outcome = import(document);
    EXPECT_EQ(outcome.exit_code, 3);
    EXPECT_TRUE(holds(outcome.err, "under the name `net/shared`; expected a tbl_ldap_conn"))
        << outcome.err;
    EXPECT_EQ(exported(copy), before);
}

TEST_F(Import, AsADryRunChangesNothing) {
    const std::string before = exported(copy);
    const Outcome outcome = import(xml(connection("a", "1")), {"--dry-run"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "dry run: 1 record imported into 1 table, 1 of them new\n");
    EXPECT_EQ(exported(copy), before);
}

TEST_F(Import, RefusesUnknownNamesWithASuggestionUnlessItIsLenient) {
    const std::string unknown =
        "<record><tbl_ldap_conn><st_ldap_conn>\n<snam>x</snam><sname>x</sname>\n"
        "</st_ldap_conn></tbl_ldap_conn></record>\n";
    Outcome outcome = import(xml(unknown));
    EXPECT_EQ(outcome.exit_code, 3);
    EXPECT_TRUE(holds(outcome.err, path +
                                       ":5: tbl_ldap_conn:ldap: no field of st_ldap_conn `snam`; "
                                       "did you mean `sname`?"))
        << outcome.err;
    outcome = import(xml(unknown), {"--lenient"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_TRUE(holds(exported(copy), R"("sname":"x")"));
}

struct BrokenDocument {
    const char *name;
    std::string document;
    std::string message;  // after the name of the file
};

const std::string json_head = R"({"tarnbase":{"format":1,"tables":[)";
const std::string json_table =
    json_head + "\n" + R"({"table":"tbl_ldap_conn","name":"ldap",)" + R"("records":[)" + "\n";

std::string connections_are(const std::string &number) {
    return json_table + R"({"fields":{"num_conns":)" + number + "}}]}]}}";
}
constexpr const char *too_far = ":3: JSON: a number is out of range";

const BrokenDocument broken_documents[] = {
    {"xml_cut_off", xml(connection("a", "1")).substr(0, 200), ":7: expected "},
    {"xml_without_end", "<tarnbase format=\"1\">", ":1: expected "},
    {"xml_of_another_kind", "<other/>", ":1: expected the root element `tarnbase`"},
    {"xml_with_a_type_declaration", "<?xml version=\"1.0\"?>\n<!DOCTYPE x><tarnbase/>",
     ":2: expected no document type declaration"},
    {"xml_in_another_encoding", "<?xml version=\"1.0\" encoding=\"UTF-16\"?><tarnbase/>",
     ":1: expected "},
    {"xml_of_a_later_format", "<tarnbase format=\"2\"/>",
     ":1: expected format=\"1\", not \"2\"; a newer release made this document: import it with "
     "that one"},
    {"xml_with_an_unknown_entity", xml(connection("&nbsp;", "1")), ":6: expected "},
    {"xml_with_a_control_character", xml(connection("\x01", "1")), ":6: expected "},
    {"xml_with_bytes_that_are_no_utf8", xml(connection("\xff", "1")), ":6: expected "},
    {"xml_of_an_unknown_table",
     "<tarnbase format=\"1\">\n<table type=\"tbl_ldap_con\" name=\"x\"/></tarnbase>",
     ":2: no table `tbl_ldap_con`; did you mean `tbl_ldap_conn`?"},
    {"xml_table_without_a_name",
     "<tarnbase format=\"1\"><table type=\"tbl_ldap_conn\"/></tarnbase>",
     ":1: `table`: expected the attribute `name`"},
    {"xml_with_a_field_twice",
     xml("<record><tbl_ldap_conn><st_ldap_conn><sname>a</sname>\n<sname>b</sname></st_ldap_conn>"
         "</tbl_ldap_conn></record>"),
     ":5: tbl_ldap_conn:ldap: sname: it is given twice"},
    {"xml_with_an_unknown_attribute", xml("<record tenan=\"1\"/>"),
     ":4: tbl_ldap_conn:ldap: no attribute of `record` `tenan`; did you mean `tenant`?"},
    {"xml_with_a_tenant_out_of_range", xml("<record tenant=\"65536\"/>"),
     ":4: tbl_ldap_conn:ldap: tenant: expected a number from 0 to 65535, not `65536`"},
    {"xml_with_text_in_front_of_the_fields",
     xml("<record><tbl_ldap_conn><st_ldap_conn> x <sname>a</sname></st_ldap_conn></tbl_ldap_conn>"
         "</record>"),
     ":4: tbl_ldap_conn:ldap: `st_ldap_conn`: expected elements of fields, not text"},
    {"xml_with_text_after_a_field",
     xml("<record><tbl_ldap_conn><st_ldap_conn><sname>a</sname>\n<![CDATA[ ]]>x</st_ldap_conn>"
         "</tbl_ldap_conn></record>"),
     ":4: tbl_ldap_conn:ldap: `st_ldap_conn`: expected elements of fields, not text"},
    {"xml_with_text_in_a_record", xml("<record><tbl_ldap_conn/>x</record>"),
     ":4: tbl_ldap_conn:ldap: `record`: expected the element `tbl_ldap_conn`, not text"},
    {"xml_with_text_between_records", xml(connection("a", "1") + "\nx"),
     ":10: expected an element, not text"},
    {"xml_record_without_a_key", xml("<record><tbl_ldap_conn/></record>"),
     ":4: tbl_ldap_conn:ldap: expected the record's key, st_ldap_conn"},
    {"xml_nested_too_deep",
     [] {
         std::string deep = "<tarnbase format=\"1\">";
         for (int i = 0; i < 100000; ++i) deep += "<x>";
         return deep;
     }(),
     ":1: "},
    {"json_cut_off", json_table, ":3: JSON: "},
    {"json_of_another_kind", "{\"other\": 1}", ":1: no member `other`"},
    {"json_of_a_later_format", R"({"tarnbase":{"format":2}})",
     ":1: format: expected 1, not 2; a newer release made this document: import it with that one"},
    {"json_number_for_text",
     json_table + R"({"fields":{"sname":"a"}},)" + "\n" + R"({"fields":)" + "\n" +
         R"({"sname":5}}]}]}})",
     ":5: tbl_ldap_conn:ldap: sname: expected a string or {\"hex\": \"00ff\"}, not 5"},
    {"json_number_out_of_range", json_table + R"({"fields":{"num_conns":4294967296}}]}]}})",
     ":3: tbl_ldap_conn:ldap: num_conns: expected a number from 0 to 4294967295"},
    {"json_number_near_zero", connections_are("0." + std::string(400, '0') + "1"), too_far},
    {"json_number_below_the_least", connections_are("0." + std::string(342, '0') + "1"), too_far},
    {"json_number_of_many_digits", connections_are(std::string(300, '1') + "e308"), too_far},
    {"json_number_with_a_great_exponent", connections_are("1e999999999999"), ":3: JSON: "},
    {"json_number_with_a_low_exponent", connections_are("0.00000000001e-2147483639"), too_far},
    {"json_number_with_a_fraction", connections_are("-0.5e1"),
     ":3: tbl_ldap_conn:ldap: num_conns: expected a number, not -5.0"},
    {"json_unknown_field", json_table + R"({"fields":{"snam":""}}]}]}})",
     ":3: tbl_ldap_conn:ldap: no field of st_ldap_conn `snam`; did you mean `sname`?"},
    {"json_unknown_member", json_table + R"({"field":{}}]}]}})",
     ":3: tbl_ldap_conn:ldap: no member of a record `field`; did you mean `fields`?"},
    {"json_unknown_table", json_head + R"({"table":"tbl_ldap_con"}]}})",
     ":1: no table `tbl_ldap_con`; did you mean `tbl_ldap_conn`?"},
    {"json_records_ahead_of_the_table", json_head + R"({"records":[]}]}})",
     ":1: expected `table` and `name` (or `id`) before `records`"},
    {"json_nested_too_deep", json_table + std::string(100000, '['),
     ":3: expected values that nest"},
    {"json_with_a_member_twice",
     json_table + R"({"fields":{"sname":"a",)" + "\n" + R"("sname":"b"}}]}]}})",
     ":4: fields.sname: it is given twice"},
    {"json_with_a_bad_number_in_a_structure",
     json_head + "\n" + R"({"table":"tbl_aaa_servers","name":"a","records":[{"fields":{)" + "\n" +
         R"("aaa_authen":{)" + "\n" + R"("requests":1,)" + "\n" +
         R"("request_timeouts":"x"}}}]}]}})",
     ":5: tbl_aaa_servers:a: aaa_authen.request_timeouts: expected a number, not \"x\""},
    {"json_with_an_end_of_line_in_a_text", json_table + "{\"fields\":{\n\"sname\":\"a\n\"}}]}]}}",
     ":4: JSON: "},
    {"json_with_bytes_that_are_no_utf8", json_table + "{\"fields\":{\"sname\":\"\xff\"}}]}]}}",
     ":3: JSON: a string isn't UTF-8"},
    {"json_with_half_a_surrogate_pair", json_table + R"({"fields":{"sname":"\udc00"}}]}]}})",
     ":3: JSON: "},
    {"json_with_a_control_character", json_table + "{\"fields\":{\"sname\":\"\x01\"}}]}]}}",
     ":3: JSON: "},
    {"json_with_more_after_its_end", json_table + "]}]}}\n{}", ":4: JSON: "},
    {"json_with_a_nul_after_its_end", json_table + "]}]}}\n" + std::string(1, '\0') + "{}",
     ":4: JSON: "},
    {"frames_cut_off", "TARNFRAM\1", ": frame 1 at byte 0: the version is cut off"},
    {"frames_of_a_later_format", std::string("TARNFRAM\2\0\0\0\0\0\0\0", 16),
     ": frame 1 at byte 0: expected version 1, not 2; a newer release made this document: import "
     "it with that one"},
    {"frames_with_an_unknown_mark", std::string("TARNFRAM\1\0\0\0\0\0\0\0X", 17),
     ": frame 1 at byte 16: expected `T`, `R` or `E`, not the byte 0x58"},
    {"frames_with_a_record_of_no_table", std::string("TARNFRAM\1\0\0\0\0\0\0\0R", 17),
     ": frame 1 at byte 16: expected a table"},
    {"something_else", "hello", ": expected XML, JSON or frames"},
    {"nothing", "", ": expected XML, JSON or frames"},
};

TEST_F(Import, RefusesABrokenDocumentAndNamesThePosition) {
    for (const BrokenDocument &each : broken_documents) {
        SCOPED_TRACE(each.name);
        const Outcome outcome = import(each.document);
        EXPECT_EQ(outcome.exit_code, 3);
        EXPECT_TRUE(holds(outcome.err, "tarnctl: " + path + each.message)) << outcome.err;
        EXPECT_EQ(outcome.out, "");
    }
    EXPECT_EQ(exported(copy), "{\"tarnbase\":{\"format\":1,\"tables\":[\n]}}\n");
}

TEST_F(Import, NamesFrameAndByteOfABrokenFrame) {
    std::string document = on_store({"export", "--format", "frames", "ldap_conn"}).out;
    // The length of the second record's text, in the middle of its frame.
    const std::size_t place = document.find("b.example");
    ASSERT_NE(place, std::string::npos);
    document[place - 4] = '\x7f';
    const Outcome outcome = import(document);
    EXPECT_EQ(outcome.exit_code, 3);
    EXPECT_TRUE(holds(outcome.err, path + ": frame 2 at byte ")) << outcome.err;
    EXPECT_TRUE(holds(outcome.err, "tbl_ldap_conn:ldap: frame: ")) << outcome.err;
}

TEST_F(Import, ReadsOnlyTheGivenFormat) {
    const Outcome outcome = import(xml(""), {"--format", "json"});
    EXPECT_EQ(outcome.exit_code, 3);
    EXPECT_TRUE(holds(outcome.err, path + ":1: JSON: ")) << outcome.err;
}

TEST_F(Import, AcceptsHandWrittenXml) {
    const Outcome outcome = import(
        "\xef\xbb\xbf<?xml version='1.0'?><!-- by hand -->\r\n<tarnbase format='1'>\r\n"
        "  <table type='tbl_ldap_conn' name='ldap'><!-- - -->\r\n    <record>\r\n"
        "      <tbl_ldap_conn><st_ldap_conn ><num_conns>7</num_conns>\r\n"
        "        "
        "<sname>a&amp;b&#x20;<![CDATA[<c>]]>\r\nd</sname></st_ldap_conn></tbl_ldap_conn>\r\n"
        "    </record></table><?instruction?>\r\n</tarnbase>\r\n");
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_TRUE(holds(exported(copy), R"({"sname":"a&b <c>\nd","num_conns":7})")) << exported(copy);
}

TEST_F(Import, AcceptsHandWrittenJson) {
    const Outcome outcome = import(
        "\xef\xbb\xbf{ \"tarnbase\" :\r\n{\"format\": 1, \"tables\": [{\"table\": "
        "\"tbl_ldap_conn\",\n"
        "\t\"name\": \"ldap\", \"records\": [ {\"fields\": {\"num_conns\": 0,\n"
        "\"sname\": \"\\u00e9\\ud83d\\ude00\\n\"}}\n] }]}}\n");
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_TRUE(holds(exported(copy), "\"sname\":\"é😀\\n\"")) << exported(copy);
}

// A document is read in pieces: of any length are what a piece divides, and the lines in it.
TEST_F(Import, ReadsTextsAndCountsLinesAcrossPieces) {
    std::string text;
    while (text.size() < 300000) text += R"(ab\u00e9\n\\é)" + std::string(text.size() % 7, 'x');
    const auto record = [&](const std::string &fields) {
        return json_table + std::string(70000, '\n') + R"({"fields":{"sname":")" + text +
               "\"}},\n" + R"({"fields":{)" + fields + "}}]}]}}";
    };
    const Outcome refused = import(record(R"("snam":"")"));
    EXPECT_TRUE(holds(refused.err, path + ":70004: tbl_ldap_conn:ldap: no field of "))
        << refused.err;
    const Outcome outcome = import(record(R"("sname":"other")"));
    EXPECT_EQ(outcome.out, "2 records imported into 1 table, 1 of them new\n") << outcome.err;
    const std::string whole = exported(copy);
    const std::string read = json::parse("\"" + text + "\"").get<std::string>();
    EXPECT_EQ(tarn::test::json_of(whole)["tarnbase"]["tables"][0]["records"][1]["fields"]["sname"],
              read);
    for (const char *format : {"xml", "frames"}) {
        const std::string again = directory / (std::string(format) + ".store");
        ASSERT_EQ(tarnctl({"store", "create", again}).exit_code, 0);
        const Outcome document = tarnctl({"export", "--format", format, "--store", copy});
        EXPECT_EQ(tarnctl({"import", "--store", again, "-"}, document.out).exit_code, 0);
        EXPECT_TRUE(exported(again) == whole) << format;
    }
}

TEST_F(Import, OfAMissingFileIsAStoreError) {
    const Outcome outcome = tarnctl({"import", "--store", copy, directory / "none.xml"});
    EXPECT_EQ(outcome.exit_code, 4);
    EXPECT_TRUE(holds(outcome.err, "none.xml: No such file")) << outcome.err;
}

}  // namespace
}  // namespace tarnctl_test
