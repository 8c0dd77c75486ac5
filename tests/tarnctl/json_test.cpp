// SPDX-License-Identifier: Apache-2.0
#include "json/document.h"

#include <gtest/gtest.h>

#include <limits>
#include <nlohmann/json.hpp>

#include "json/tree.h"

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

TEST(JsonTree, ReadsOnlyTheKindThatTheValueHas) {
    JsonTree tree;
    tree.open(false);
    const auto named = [&](const char *name) -> JsonTree & {
        EXPECT_TRUE(tree.name(name));
        return tree;
    };
    named("number").add_unsigned(5);
    named("below").add_signed(-5);
    named("text").add_text("x");
    named("truth").add_boolean(false);
    named("real").add_real(5.0);
    named("none").add_null();
    EXPECT_FALSE(tree.name("text"));
    tree.close();
    const JsonView view = tree.root();
    EXPECT_TRUE(view.is_object());
    EXPECT_EQ(view.find("number")->unsigned_number(), 5U);
    EXPECT_EQ(view.find("number")->signed_number(), 5);
    EXPECT_TRUE(view.find("number")->equals(5));
    EXPECT_EQ(view.find("number")->string(), std::nullopt);
    EXPECT_EQ(view.find("below")->unsigned_number(), std::nullopt);
    EXPECT_EQ(view.find("below")->signed_number(), -5);
    EXPECT_TRUE(view.find("below")->is_integer());
    EXPECT_EQ(view.find("text")->string(), "x");
    EXPECT_FALSE(view.find("text")->find("x").has_value());
    EXPECT_EQ(view.find("truth")->boolean(), false);
    EXPECT_FALSE(view.find("real")->is_integer());
    EXPECT_TRUE(view.find("real")->equals(5));
    EXPECT_TRUE(view.find("none")->is_null());
    EXPECT_FALSE(view.find("missing").has_value());
    EXPECT_EQ(view.size(), 6U);
    std::string names;
    for (const auto &[name, value] : view.members()) names.append(name) += ' ';
    EXPECT_EQ(names, "number below text truth real none ");
}

// Up to 64 names have marks, and more have hashes.
TEST(JsonTree, RefusesANameThatAnObjectHasHoweverManyThereAre) {
    for (const int count : {1, 2, 63, 64, 65, 66, 300}) {
        JsonTree tree;
        tree.open(false);
        for (int i = 0; i < count; ++i) {
            ASSERT_TRUE(tree.name("name" + std::to_string(i))) << count;
            tree.open(false);
            ASSERT_TRUE(tree.name("name0"));
            tree.add_null();
            tree.close();
        }
        for (int i = 0; i < count; ++i) EXPECT_FALSE(tree.name("name" + std::to_string(i)));
        EXPECT_TRUE(tree.name("")) << count;
        tree.add_null();
        EXPECT_FALSE(tree.name("")) << count;
    }
}

TEST(JsonTree, HasValuesInsideOfValuesUntilItIsCleared) {
    JsonTree tree;
    for (int round = 0; round < 2; ++round) {
        tree.clear();
        tree.open(false);
        ASSERT_TRUE(tree.name("list"));
        tree.open(true);
        tree.add_signed(-1);
        tree.open(false);
        ASSERT_TRUE(tree.name("inner"));
        tree.open(false);
        EXPECT_EQ(tree.path_of("leaf"), "list.inner.leaf");
        ASSERT_TRUE(tree.name("leaf"));
        tree.add_text("a\n");
        tree.close();
        tree.close();
        tree.add_real(0.5);
        tree.close();
        // The same name as a member of another object.
        ASSERT_TRUE(tree.name("leaf"));
        tree.add_boolean(true);
        EXPECT_EQ(tree.depth(), 1U);
        tree.close();
        EXPECT_EQ(tree.depth(), 0U);
        const JsonView view = tree.root();
        EXPECT_EQ(view.dump(), R"({"list":[-1,{"inner":{"leaf":"a\n"}},0.5],"leaf":true})");
        const auto elements = view.find("list")->elements();
        ASSERT_EQ(elements.size(), 3U);
        EXPECT_EQ(view.find("list")->size(), 3U);
        EXPECT_EQ(elements[1].find("inner")->find("leaf")->string(), "a\n");
        EXPECT_EQ(view.find("leaf")->boolean(), true);
    }
}

}  // namespace
}  // namespace tarnctl
