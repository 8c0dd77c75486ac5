// SPDX-License-Identifier: Apache-2.0
#include "json/document.h"

#include <gtest/gtest.h>

#include <limits>
#include <nlohmann/json.hpp>

namespace tarnctl {
namespace {

TEST(Json, WritesEachKindOfValue) {
    const struct {
        Json json;
        const char *text;
    } cases[] = {
        {nullptr, "null"},
        {true, "true"},
        {uint8_t{7}, "7"},
        {-7, "-7"},
        {std::numeric_limits<uint64_t>::max(), "18446744073709551615"},
        {std::numeric_limits<int64_t>::min(), "-9223372036854775808"},
        {0.5, "0.5"},
        {"a\"b\n", R"("a\"b\n")"},
        {"\x80", "\"\uFFFD\""},
        {std::vector<uint8_t>{1, 2}, "[1,2]"},
        {std::vector<std::string>{"a"}, R"(["a"])"},
        {Json::array(), "[]"},
        {Json::object(), "{}"},
    };
    for (const auto &each : cases) EXPECT_EQ(each.json.dump(), each.text);
}

TEST(Json, KeepsMembersInTheirOrder) {
    Json json{{"b", 1}, {"a", {{"inner", Json::array()}}}};
    json.set("c", "text");
    json.update({{"d", nullptr}});
    json.update(Json::object());
    EXPECT_EQ(json.dump(), R"({"b":1,"a":{"inner":[]},"c":"text","d":null})");
}

// As nlohmann/json breaks the lines, which many programs' readers are used to.
TEST(Json, HasALineForEachMemberAndElementIfIndented) {
    Json json{{"empty", Json::object()}, {"none", Json::array()}, {"a\\\"{,", "[x]:\n, é"}};
    json.set("numbers", std::vector<uint8_t>{1, 2});
    json.set("inner", {{"number", -1}, {"truth", true}});
    json.set("list", Json::array());
    const std::string text = json.dump(2);
    EXPECT_EQ(text, nlohmann::ordered_json::parse(text).dump(2));
    EXPECT_EQ(text, nlohmann::ordered_json::parse(json.dump()).dump(2));
    EXPECT_EQ(Json({{"a", 1}}).dump(2), "{\n  \"a\": 1\n}");
}

TEST(JsonView, ReadsOnlyTheKindThatTheValueHas) {
    const auto json =
        nlohmann::ordered_json::parse(R"({"number":5,"below":-5,"text":"x","truth":false})");
    const JsonView view(json);
    EXPECT_TRUE(view.is_object());
    EXPECT_EQ(view.find("number")->unsigned_number(), 5U);
    EXPECT_EQ(view.find("number")->signed_number(), 5);
    EXPECT_TRUE(view.find("number")->equals(5));
    EXPECT_EQ(view.find("number")->string(), std::nullopt);
    EXPECT_EQ(view.find("below")->unsigned_number(), std::nullopt);
    EXPECT_EQ(view.find("below")->signed_number(), -5);
    EXPECT_EQ(view.find("text")->string(), "x");
    EXPECT_FALSE(view.find("text")->find("x").has_value());
    EXPECT_EQ(view.find("truth")->boolean(), false);
    EXPECT_FALSE(view.find("missing").has_value());
    EXPECT_EQ(view.members().size(), 4U);
}

}  // namespace
}  // namespace tarnctl
