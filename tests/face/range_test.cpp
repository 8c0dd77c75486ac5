// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <iterator>
#include <stdexcept>

#include "fixture.h"

namespace face_test {
namespace {

class Range : public Face {
 protected:
    Range() {
        for (const char *name : {"ldap3", "b", "ldap1", "ldap2"}) add(table, name);
    }
    tarn::table<tarn::ldap_conn> table = servers(session);
};

TEST_F(Range, IsInKeyOrderWithShorterTextsFirst) {
    EXPECT_EQ(names(table), (Names{"b", "ldap1", "ldap2", "ldap3"}));
}

TEST_F(Range, OfAnEmptyTableIsEmpty) {
    const auto other = tarn::table<tarn::ldap_conn>::open_or_create(session, "other");
    EXPECT_TRUE(other.begin() == other.end());
    EXPECT_TRUE(other.rbegin() == other.rend());
    EXPECT_TRUE(other.all_sources().empty());
}

TEST_F(Range, CanBeReversed) {
    Names all;
    for (auto at = table.rbegin(); at != table.rend(); ++at) all.emplace_back((*at).sname());
    EXPECT_EQ(all, (Names{"ldap3", "ldap2", "ldap1", "b"}));
    auto at = table.end();
    EXPECT_EQ((--at)->sname(), "ldap3");
    EXPECT_EQ((at--)->sname(), "ldap3");
    EXPECT_EQ((at++)->sname(), "ldap2");
    EXPECT_EQ(at->sname(), "ldap3");
}

TEST_F(Range, WorksWithTheStandardAlgorithms) {
    EXPECT_EQ(std::distance(table.begin(), table.end()), 4);
    const auto found = std::find_if(table.begin(), table.end(),
                                    [](const auto &record) { return record.sname() == "ldap2"; });
    EXPECT_EQ(found->sname(), "ldap2");
}

TEST_F(Range, RecordsCanBeChangedDuringIteration) {
    std::uint32_t n = 0;
    for (auto record : table) record.set_num_conns(++n);
    EXPECT_EQ(table.find("b")->num_conns(), 1U);
    EXPECT_EQ(table.find("ldap3")->num_conns(), 4U);
}

TEST_F(Range, RecordsCanBeErasedDuringIteration) {
    for (auto at = table.begin(); at != table.end();) {
        at = at->sname() == "ldap2" ? std::next(at) : table.erase(at);
    }
    EXPECT_EQ(names(table), Names{"ldap2"});
}

TEST_F(Range, ReturnsRecordsInsertedAheadAndNoErasedOnes) {
    Names met;
    for (auto record : table) {
        met.emplace_back(record.sname());
        if (record.sname() != "ldap1") continue;
        table.erase("ldap2");
        add(table, "ldap25");
    }
    EXPECT_EQ(met, (Names{"b", "ldap1", "ldap3", "ldap25"}));
}

TEST_F(Range, EraseIfErasesMatchingRecords) {
    EXPECT_EQ(table.erase_if([](const auto &record) { return record.sname() < "ldap2"; }), 2U);
    EXPECT_EQ(names(table), (Names{"ldap2", "ldap3"}));
    EXPECT_EQ(table.erase_if([](const auto &) { return true; }), 2U);
    EXPECT_TRUE(table.empty());
}

TEST_F(Range, WalkEndsWhenItsFunctionStopsIt) {
    Names met;
    table.walk([&](const auto &record) {
        met.emplace_back(record.sname());
        return record.sname() != "ldap1";
    });
    EXPECT_EQ(met, (Names{"b", "ldap1"}));
}

TEST_F(Range, WalkKeepsItsFunctionsState) {
    struct Counter {
        int calls = 0;
        void operator()(const tarn::record<tarn::ldap_conn> &) { ++calls; }
    };
    Counter counter;
    table.walk(counter);
    EXPECT_EQ(counter.calls, 4);
    const auto ignore = [](const auto &) {};
    table.walk(ignore);
}

TEST_F(Range, WalkMayEraseTheVisitedRecord) {
    table.walk([&](const auto &record) { table.erase(record); });
    EXPECT_TRUE(table.empty());
}

TEST_F(Range, ExceptionsOfAWalksFunctionPropagate) {
    int calls = 0;
    EXPECT_THROW(table.walk([&](const auto &) {
        ++calls;
        throw std::out_of_range("enough");
    }),
                 std::out_of_range);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(table.size(), 4U);
}

}  // namespace
}  // namespace face_test
