// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "base/failure.h"
#include "listing/selection.h"
#include "model/store.h"
#include "query/filter.h"
#include "tests/support/temporary_directory.h"

namespace tarnctl {
namespace {

constexpr uint32_t servers = 1000;

// Connections of servers s0, s1, ...; s500 is in tenants 0, 3, 4 and 65535 and of source 5 too.
class Query : public testing::Test {
 protected:
    void SetUp() override {
        uint32_t err = 0;
        instance_ = {&table_, table_.open(store_.handle(), KEL_TX_NONE, "some", 0, &err)};
        ASSERT_EQ(err, 0U);
        for (uint32_t i = 0; i < servers; ++i) add("s" + std::to_string(i), i % 7);
        add("s500", 1, 0, 5);
        for (const uint16_t tenant : std::vector<uint16_t>{3, 4, UINT16_MAX}) {
            add("s4", 1, tenant);
            add("s500", tenant, tenant);
            add("s9", 1, tenant);
        }
        add("other", 1, 20);
    }

    void add(const std::string &name, uint32_t number, uint16_t tenant = 0, uint8_t src = 1) {
        const tarn::tenant_scope scope(tenant);
        uint32_t err = 0;
        kel_handle *handle = store_.handle();
        kel_record *record = table_.create_record(handle, KEL_TX_NONE, src, &err);
        void *object = table_.type->create(handle, KEL_TX_NONE);
        Value(handle, KEL_TX_NONE, object, parse_path(*table_.type, "sname")).set_text(name);
        Value(handle, KEL_TX_NONE, object, parse_path(*table_.type, "num_conns"))
            .set_number(number);
        table_.set_object(handle, KEL_TX_NONE, record, object);
        table_.insert(handle, KEL_TX_NONE, instance_.block, record, &err);
        ASSERT_EQ(err, 0U);
    }

    Selection selected(const std::string &condition) const {
        SelectionOptions options;
        options.conditions = {condition};
        return select(store_, instance_, options);
    }
    static std::string failure(const std::string &condition) {
        try {
            parse_condition(condition);
        } catch (const Failure &failure) {
            EXPECT_EQ(failure.code(), Exit::usage);
            return failure.what();
        }
        return "";
    }

    tarn::test::TemporaryDirectory directory_;
    Store store_ = Store::create(directory_ / "net.store", {});
    const Table &table_ = table_named("ldap_conn");
    Instance instance_{};
};

TEST_F(Query, OfTheWholeKeyReadsOnlyTheRecordsOfThatKey) {
    for (const char *condition :
         {"sname=s500", "num_conns>=0 AND (sname='s500' AND num_conns<99999)"}) {
        const Selection found = selected(condition);
        EXPECT_EQ(found.looked_at, 5U) << condition;
        ASSERT_EQ(found.records.size(), 5U) << condition;
        const std::vector<uint16_t> tenants = {0, 0, 3, 4, UINT16_MAX};
        for (std::size_t i = 0; i < tenants.size(); ++i)
            EXPECT_EQ(found.records[i].tenant(), tenants[i]);
        EXPECT_EQ(found.records[1].src(), 5);
    }
    EXPECT_EQ(selected("sname=s500 AND num_conns=65535").records.size(), 1U);
    EXPECT_EQ(selected("sname=nothing").looked_at, 0U);
    EXPECT_EQ(selected("sname=s999").looked_at, 1U);
}

TEST_F(Query, ThatDoesNotFixTheKeyReadsAllRecords) {
    const uint64_t all = servers + 11;
    for (const char *condition : {"sname=s500 OR num_conns=9", "NOT sname=s500", "sname!=s500",
                                  "sname~s500", "num_conns=1"})
        EXPECT_EQ(selected(condition).looked_at, all) << condition;
}

TEST_F(Query, OfACompositeKeyUsesTheIndexWhenAllOfItIsFixed) {
    const Table &table = table_named("pexSessionEntry_op");
    EXPECT_TRUE(Filter(table, {"if_index=1 AND session_id_in=a", "searchtype=0"}).key());
    EXPECT_FALSE(Filter(table, {"if_index=1 AND session_id_in=a"}).key());
}

TEST_F(Query, GivesAndPrecedenceOverOr) {
    const ConditionText text = parse_condition("a=1 or b=2 and not (c=3 or d=4)");
    ASSERT_EQ(text.shape, ConditionText::Shape::any);
    ASSERT_EQ(text.parts.size(), 2U);
    const ConditionText &both = text.parts[1];
    ASSERT_EQ(both.shape, ConditionText::Shape::all);
    EXPECT_EQ(both.parts[0].comparison.field, "b");
    ASSERT_EQ(both.parts[1].shape, ConditionText::Shape::negation);
    EXPECT_EQ(both.parts[1].parts[0].shape, ConditionText::Shape::any);
}

TEST_F(Query, ReadsOperandsWithAndWithoutQuotes) {
    const std::pair<const char *, const char *> cases[] = {
        {"a = b", "b"},
        {"a='b c) AND'", "b c) AND"},
        {"a='it''s'", "it's"},
        {"a=\"it's\"", "it's"},
        {"(a~^(b|c)$)", "^(b|c)$"},
        {"a~\\)b", "\\)b"},
        {"a=", ""},
        {"a=''", ""},
        {"a==b", "b"},
    };
    for (const auto &[text, operand] : cases)
        EXPECT_EQ(parse_condition(text).comparison.operand.text, operand) << text;
    EXPECT_TRUE(parse_condition("a:hex=00").comparison.is_hex);
}

TEST_F(Query, ShowsThePositionOfAnErrorInACondition) {
    // A text, and how its error begins.
    const std::pair<std::string, const char *> cases[] = {
        {"num_conns> AND x=1",
         "expected a value; put the word `AND` in quotes\n"
         "  num_conns> AND x=1\n"
         "             ^"},
        {"a=1 b=2",
         "expected AND, OR or the end; put a value with blanks in quotes\n"
         "  a=1 b=2\n"
         "      ^"},
        {"(a=1", "expected AND, OR or `)`\n  (a=1\n      ^"},
        {"num_conns", "expected one of = != < <= > >= ~ !~ =~"},
        {"a='b", "expected a closing ' for the text that begins here\n"},
        {"", "expected "},
        {"=1", "expected "},
        {"a=1 AND", "expected "},
        {"NOT", "expected "},
        {"()", "expected "},
        {"a=1)", "expected "},
        {std::string(100000, '('), "expected "},
    };
    for (const auto &[text, error] : cases) EXPECT_EQ(failure(text).find(error), 0U) << text;
}

TEST_F(Query, MatchesRegularExpressionsWithinAnyBytes) {
    const struct {
        const char *expression;
        bool ignores_case;
        std::string text;
        bool matches;
    } cases[] = {
        {"b.*D", true, "abcd", true},
        {"b.*D", false, "abcd", false},
        {"^b", true, "abcd", false},
        {"b$", true, std::string("a\0b", 3), true},
        {"x.*x", true, "x" + std::string(1000000, 'y') + "x", true},
    };
    for (const auto &each : cases)
        EXPECT_EQ(Pattern(each.expression, each.ignores_case).matches(each.text), each.matches)
            << each.expression;
    for (const char *wrong : {"(", "*.example"}) EXPECT_THROW(Pattern(wrong, true), Failure);
}

TEST_F(Query, ComparesFieldsWithEachOther) {
    const Table &table = table_named("aaa_servers");
    EXPECT_NO_THROW(Filter(table, {"aaa_authen.requests > aaa_author.requests"}));
    EXPECT_THROW(Filter(table, {"aaa_authen.requests > sname"}), Failure);
    EXPECT_EQ(selected("num_conns = num_conns").records.size(), servers + 11);
    EXPECT_TRUE(selected("num_conns < num_conns").records.empty());
    // In quotes it is a text, and no server has this name.
    EXPECT_EQ(selected("sname = sname").records.size(), servers + 11);
    EXPECT_TRUE(selected("sname = 'sname'").records.empty());
}

TEST_F(Query, SortsByFieldsAndKeepsTheOrderOfEqualOnes) {
    SelectionOptions options;
    options.conditions = {"sname=s500"};
    options.sort = {"num_conns:desc", "source"};
    const Selection found = select(store_, instance_, options);
    ASSERT_EQ(found.records.size(), 5U);
    EXPECT_EQ(found.records[0].tenant(), UINT16_MAX);
    EXPECT_EQ(found.records[4].src(), 5);
    options.sort = {"num_conns:up"};
    EXPECT_THROW(select(store_, instance_, options), Failure);
    options.sort = {"num_con"};
    EXPECT_THROW(select(store_, instance_, options), Failure);
}

TEST_F(Query, GroupsRecordsWithFiguresOfEach) {
    SelectionOptions options;
    options.tenant = 0;
    options.conditions = {"sname!=s500"};
    options.grouping = {{"num_conns"}, {"count", "sum(num_conns)", "min(sname)", "max(sname)"}};
    options.sort = {"count:desc", "num_conns:desc"};
    options.limit = 2;
    const Selection found = select(store_, instance_, options);
    ASSERT_TRUE(found.groups);
    ASSERT_EQ(found.groups->lines.size(), 2U);
    // 1000 servers, s500 left out, which had 500 % 7 = 3 connections.
    EXPECT_EQ(found.groups->json_of_line(0),
              "{\"num_conns\":5,\"count\":143,\"sum(num_conns)\":715,"
              "\"min(sname)\":\"s103\",\"max(sname)\":\"s999\"}");
    EXPECT_EQ(found.groups->lines[1][0].text, "4");
}

TEST_F(Query, WritesSumsBeyondTheExactNumbersOfJsonAsStrings) {
    const Table &table = table_named("aaa_command_handler");
    uint32_t err = 0;
    kel_handle *handle = store_.handle();
    kel_table *block = table.open(handle, KEL_TX_NONE, "some", 0, &err);
    for (const uint64_t key : {1U, 2U}) {
        kel_record *record = table.create_record(handle, KEL_TX_NONE, 1, &err);
        void *object = table.type->create(handle, KEL_TX_NONE);
        Value(handle, KEL_TX_NONE, object, parse_path(*table.type, "singleton_id")).set_number(key);
        Value(handle, KEL_TX_NONE, object, parse_path(*table.type, "cmd_pod"))
            .set_number(UINT64_MAX);
        table.set_object(handle, KEL_TX_NONE, record, object);
        table.insert(handle, KEL_TX_NONE, block, record, &err);
    }
    ASSERT_EQ(err, 0U);
    SelectionOptions options;
    options.grouping.aggregates = {"sum(cmd_pod)"};
    EXPECT_EQ(select(store_, {&table, block}, options).groups->json_of_line(0),
              "{\"sum(cmd_pod)\":\"36893488147419103230\"}");
}

TEST_F(Query, OfNothingHasOneGroupIfAllAreOne) {
    SelectionOptions options;
    options.conditions = {"sname=nothing"};
    options.grouping.aggregates = {"count", "sum(num_conns)", "max(num_conns)"};
    EXPECT_EQ(select(store_, instance_, options).groups->json_of_line(0),
              "{\"count\":0,\"sum(num_conns)\":0,\"max(num_conns)\":null}");
    options.grouping.by = {"num_conns"};
    EXPECT_TRUE(select(store_, instance_, options).groups->lines.empty());
    for (const char *bad : {"avg(num_conns)", "sum(sname)", "sum(none)", "sum", "max(num_conns"}) {
        options.grouping.aggregates = {bad};
        EXPECT_THROW(select(store_, instance_, options), Failure) << bad;
    }
}

}  // namespace
}  // namespace tarnctl
