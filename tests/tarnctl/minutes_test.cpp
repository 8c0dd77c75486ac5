// SPDX-License-Identifier: Apache-2.0
#include <libxml/parser.h>

#include "tests/support/json.h"
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

using Minutes = WithStore;

std::vector<std::string> lines_of(const std::string &text) {
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        lines.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return lines;
}

TEST_F(Minutes, ArePrintedAsBarsWithHoursAndNumbersBelow) {
    const Outcome outcome = on_store({"minutes", "aaa_servers", "radius1"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    const auto lines = lines_of(outcome.out);
    ASSERT_EQ(lines.size(), 4U) << outcome.out;
    EXPECT_EQ(lines[0], "tbl_aaa_servers radius1 minute");
    EXPECT_EQ(lines[3], "low 0 at 00:00, high 59 at 00:59, average 29.5");
}

TEST_F(Minutes, ArePrintedWithOneRowPerHour) {
    const Outcome outcome = on_store({"minutes", "aaa_servers", "radius1", "--as", "heatmap"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    const auto lines = lines_of(outcome.out);
    ASSERT_EQ(lines.size(), 27U) << outcome.out;
    EXPECT_EQ(lines[2].substr(0, 5), "00   ");
    EXPECT_EQ(lines[25].substr(0, 2), "23");
}

TEST_F(Minutes, AreDrawnWithTitleAndAxes) {
    const std::string svg = directory / "day.svg";
    EXPECT_EQ(on_store({"minutes", "aaa_servers", "radius1", "-o", svg}).exit_code, 0);
    const std::string text = tarn::test::read_file(svg);
    xmlDoc *document = xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                     XML_PARSE_NONET);
    ASSERT_NE(document, nullptr);
    xmlFreeDoc(document);
    EXPECT_TRUE(holds(text, "<svg")) << text.substr(0, 200);

    const std::string png = directory / "day.png";
    EXPECT_EQ(
        on_store({"minutes", "aaa_servers", "radius1", "-o", png, "--size", "400x200"}).exit_code,
        0);
    const std::string bytes = tarn::test::read_file(png);
    EXPECT_EQ(bytes.substr(0, 8), "\x89PNG\r\n\x1a\n");
    // Width and height follow the first chunk's head, most significant byte first.
    EXPECT_EQ(bytes.substr(16, 8), std::string("\0\0\x01\x90\0\0\0\xc8", 8));
}

TEST_F(Minutes, ArePrintedAsNumbersInJson) {
    const Outcome outcome = on_store({"minutes", "aaa_servers", "radius1", "--json"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    const auto json = tarn::test::json_of(outcome.out);
    EXPECT_EQ(json["minutes"].size(), 1440U);
    EXPECT_EQ(json["minutes"][61], 1);
    EXPECT_EQ(json["high_at"], "00:59");
    EXPECT_EQ(json["average"], 29.5);
}

TEST_F(Minutes, OfARecordOrATableWithoutAreRefused) {
    const Outcome record = on_store({"minutes", "aaa_servers", "radius2"});
    EXPECT_EQ(record.exit_code, 1);
    EXPECT_TRUE(holds(record.err, "tbl_aaa_servers:aaa holds no record radius2")) << record.err;
    const Outcome table = on_store({"minutes", "ldap_conn", "a.example"});
    EXPECT_EQ(table.exit_code, 2);
    EXPECT_TRUE(holds(table.err, "these tables have: `tbl_aaa_servers`")) << table.err;
    const Outcome field = on_store({"minutes", "aaa_servers", "radius1", "--field", "duration"});
    EXPECT_EQ(field.exit_code, 2);
    EXPECT_TRUE(holds(field.err, "`duration` of tbl_aaa_servers is no array")) << field.err;
    EXPECT_EQ(on_store({"minutes", "aaa_servers", "radius1", "--source", "2"}).exit_code, 1);
    EXPECT_EQ(on_store({"minutes", "aaa_servers", "radius1", "--tenant", "2"}).exit_code, 1);
    EXPECT_EQ(on_store({"minutes", "aaa_servers", "radius1", "--size", "9x9"}).exit_code, 2);
}

TEST_F(Minutes, ThatCannotBeWrittenAreAnErrorThatNamesTheFile) {
    const Outcome outcome =
        on_store({"minutes", "aaa_servers", "radius1", "-o", directory / "no/such.svg"});
    EXPECT_EQ(outcome.exit_code, 4);
    EXPECT_TRUE(holds(outcome.err, "no/such.svg: No such file")) << outcome.err;
}

TEST_F(Minutes, AreNotDrawnToAFileWithAnUnknownSuffix) {
    const std::string path = directory / "day.foo";
    const Outcome outcome = on_store({"minutes", "aaa_servers", "radius1", "-o", path});
    EXPECT_EQ(outcome.exit_code, 2);
    EXPECT_TRUE(holds(outcome.err, "expected a name that ends in .svg or .png")) << outcome.err;
}

}  // namespace
}  // namespace tarnctl_test
