// SPDX-License-Identifier: Apache-2.0
// The interface in a program without exceptions.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tarnbase/tarn/owned.hpp"
#include "tarnbase/tarn/tables/ldap_conn.hpp"
#include "tarnbase/tarn/tables/test_grown.hpp"
#include "tarnbase/tarn/tables/test_pair.hpp"
#include "tarnbase/tarn/variant.hpp"
#include "tests/support/services.h"

static_assert(TARN_EXCEPTIONS == 0, "this program is the one without");

namespace face_test {
namespace {

using Servers = tarn::table<tarn::ldap_conn>;

class Results : public testing::Test {
 protected:
    tarn::result<tarn::store> store = tarn::store::try_create_private();
    tarn::result<tarn::session> session = tarn::session::try_open(*store);
    tarn::result<Servers> table = Servers::try_open_or_create(*session, "ldap");

    tarn::result<void> add(const char *name, std::uint32_t connections) {
        auto record = table->try_make(name);
        if (!record) return record.error();
        if (auto set = record->try_set_num_conns(connections); !set) return set;
        const auto inserted = table->try_insert(std::move(*record));
        if (!inserted) return inserted.error();
        return {};
    }
    std::vector<std::string> names() {
        std::vector<std::string> all;
        for (auto record : *table) all.emplace_back(record.sname());
        return all;
    }
};

TEST_F(Results, LifecycleOfARecord) {
    ASSERT_TRUE(table);
    ASSERT_TRUE(add("ldap1", 7));
    const auto found = table->try_find("ldap1");
    ASSERT_TRUE(found);
    ASSERT_TRUE(*found);
    EXPECT_EQ((*found)->num_conns(), 7U);
    EXPECT_FALSE(*table->try_find("ldap2"));
    EXPECT_TRUE(*table->try_erase("ldap1"));
    EXPECT_FALSE(*table->try_erase("ldap1"));
}

TEST_F(Results, FailuresReturnTheErrorThatOtherCallsThrow) {
    ASSERT_TRUE(add("ldap1", 7));
    const auto second = add("ldap1", 8);
    ASSERT_FALSE(second);
    EXPECT_EQ(second.error().number(), static_cast<std::uint32_t>(EEXIST));
    EXPECT_STREQ(second.error().what(), "inserting in tbl_ldap_conn: the key already exists");
    EXPECT_FALSE(tarn::store::try_open("/nowhere/at.all"));
    EXPECT_FALSE(Servers::try_open(*session, "another"));
    EXPECT_FALSE(tarn::address::try_parse("ldap1"));
    EXPECT_FALSE(tarn::xml_document::try_parse("<a>"));
}

TEST_F(Results, ATransactionRollsBackUnlessCommitted) {
    {
        const auto transaction = tarn::transaction::try_begin(*session);
        ASSERT_TRUE(transaction);
        ASSERT_TRUE(add("ldap1", 7));
        EXPECT_FALSE(tarn::transaction::try_begin(*session));
    }
    EXPECT_TRUE(table->empty());
    auto transaction = tarn::transaction::try_begin(*session);
    ASSERT_TRUE(add("ldap1", 7));
    EXPECT_TRUE(transaction->try_commit());
    EXPECT_FALSE(transaction->try_commit());
    EXPECT_FALSE(transaction->try_rollback());
    EXPECT_EQ(names(), std::vector<std::string>{"ldap1"});
}

TEST_F(Results, WalksNeedNoResult) {
    for (const char *name : {"ldap3", "ldap1", "ldap2"}) ASSERT_TRUE(add(name, 1));
    EXPECT_EQ(names(), (std::vector<std::string>{"ldap1", "ldap2", "ldap3"}));
    EXPECT_EQ(session->last_error(), 0U);
    EXPECT_EQ(table->lower_bound("ldap2")->sname(), "ldap2");
    for (auto at = table->begin(); at != table->end();) at = *table->try_erase(at);
    EXPECT_TRUE(table->empty());
    ASSERT_TRUE(add("ldap1", 1));
    int met = 0;
    EXPECT_TRUE(table->try_walk([&](const auto &) { ++met; }));
    EXPECT_EQ(met, 1);
    EXPECT_EQ(*table->try_erase_if([](const auto &) { return true; }), 1U);
}

TEST_F(Results, AFailedStepEndsTheWalkAndIsReportedByTheSession) {
    for (const char *name : {"ldap1", "ldap2", "ldap3"}) ASSERT_TRUE(add(name, 1));
    tarn::test::ServiceRecorder services(session->c_handle());
    services.fail("kelrepl_add_to_cache", 2, EIO);
    EXPECT_EQ(names(), std::vector<std::string>{"ldap1"});
    EXPECT_EQ(session->last_error(), static_cast<std::uint32_t>(EIO));
    session->clear_last_error();
    EXPECT_EQ(session->last_error(), 0U);
    EXPECT_EQ(names().size(), 3U);
}

TEST_F(Results, AFailedSearchIsReported) {
    ASSERT_TRUE(add("ldap1", 1));
    tarn::test::ServiceRecorder services(session->c_handle());
    services.fail("kelrepl_add_to_cache", 1, EIO);
    const auto found = table->try_find("ldap1");
    ASSERT_FALSE(found);
    EXPECT_EQ(found.error().code(), std::errc::io_error);
    services.fail("kelrepl_add_to_cache", 1, EIO);
    EXPECT_TRUE(table->upper_bound("ldap0") == table->end());
    EXPECT_EQ(session->last_error(), static_cast<std::uint32_t>(EIO));
}

TEST_F(Results, FormsRoundTrip) {
    ASSERT_TRUE(add("ldap1", 7));
    const auto record = *table->begin();
    const auto text = record.try_to_text();
    ASSERT_TRUE(text);
    const auto wire = record.try_to_wire();
    ASSERT_TRUE(wire);
    EXPECT_EQ(*table->try_from_wire(*wire)->try_to_text(), *text);
    const auto document = tarn::xml_document::try_parse(*record.try_to_xml());
    ASSERT_TRUE(document);
    EXPECT_EQ(*table->try_from_xml(*document)->try_to_text(), *text);
    auto conn = tarn::owned<tarn::ldap_conn>::try_make(*session);
    ASSERT_TRUE(conn);
    EXPECT_TRUE(conn->try_read_xml(*document, "//st_ldap_conn"));
    EXPECT_EQ(conn->num_conns(), 7U);
}

TEST_F(Results, FieldsThatAnObjectMayLackReturnAResult) {
    auto grown = tarn::table<tarn::grown>::try_open_or_create(*session, "grown");
    auto now = grown->try_make("now");
    EXPECT_TRUE(now->try_extra()->try_set_name("there"));
    EXPECT_EQ(now->try_extra()->name(), "there");
    EXPECT_TRUE(now->try_set_minute(3, 4));
    EXPECT_EQ(*now->try_minute(3), 4);
    EXPECT_EQ(now->minute()[3], 4);
    EXPECT_FALSE(now->try_minute(1440));
    const auto older =
        tarn::variant_scope::try_make(session->c_handle(), _st_grown_type_info_internal, 0);
    ASSERT_TRUE(older);
    EXPECT_FALSE(grown->try_make("old")->try_extra());
}

TEST_F(Results, CompositeKeysReturnResults) {
    auto pairs = tarn::table<tarn::pair>::try_open_or_create(*session, "pairs");
    auto made = pairs->try_make({1, "a", {}, 2});
    ASSERT_TRUE(made);
    ASSERT_TRUE(pairs->try_insert(std::move(*made)));
    EXPECT_TRUE(pairs->contains({1, "a", {}, 2}));
    EXPECT_FALSE(pairs->contains({1, "a", {}, 3}));
}

}  // namespace
}  // namespace face_test
