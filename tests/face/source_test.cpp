// SPDX-License-Identifier: Apache-2.0
#include "fixture.h"
#include "tarnbase/tarn/tenant.hpp"

namespace face_test {
namespace {

class Source : public Face {
 protected:
    Source() {
        table.insert(table.make("ldap1"));
        table.insert(table.make("ldap1", other));
        table.insert(table.make("ldap2", other));
    }
    static constexpr tarn::source other{7};
    tarn::table<tarn::ldap_conn> table = servers(session);
};

TEST_F(Source, ReadsUseTheDefaultOneUnlessGivenAnother) {
    EXPECT_EQ(names(table), Names{"ldap1"});
    EXPECT_EQ(names(table.of_source(other)), (Names{"ldap1", "ldap2"}));
    EXPECT_FALSE(table.find("ldap2"));
    EXPECT_EQ(table.find("ldap2", other)->source(), other);
    EXPECT_EQ(table.find("ldap1")->source(), tarn::source::standard);
}

TEST_F(Source, AWalkCanVisitAllOfThem) {
    EXPECT_EQ(names(table.all_sources()), (Names{"ldap1", "ldap1", "ldap2"}));
    auto at = table.all_sources().end();
    EXPECT_EQ((--at)->sname(), "ldap2");
    EXPECT_EQ((--at)->source(), other);
    EXPECT_EQ((--at)->source(), tarn::source::standard);
}

TEST_F(Source, IsCountedAndErasedSeparately) {
    EXPECT_EQ(table.size(), 3U);
    EXPECT_EQ(table.size(other), 2U);
    EXPECT_TRUE(table.erase("ldap1", other));
    EXPECT_EQ(names(table.all_sources()), (Names{"ldap1", "ldap2"}));
}

TEST_F(Source, BoundsStayWithinOne) {
    EXPECT_EQ(table.lower_bound("ldap1", other)->source(), other);
    EXPECT_EQ(names(table.from("ldap1", other)), (Names{"ldap1", "ldap2"}));
    EXPECT_TRUE(table.upper_bound("ldap1") == table.end());
}

TEST_F(Source, PendingRecordsCanBeSkipped) {
    kel_table_set_replication(session.c_handle(), KEL_TX_NONE, table.c_table(), 1, 0);
    std::uint32_t err = 0;
    tbl_ldap_conn_request_record_destroy(session.c_handle(), KEL_TX_NONE, table.c_table(),
                                         table.find("ldap1", other)->c_record(), &err);
    ASSERT_EQ(err, 0U);
    EXPECT_TRUE(table.find("ldap1", other)->pending_destroy());
    EXPECT_EQ(names(table.of_source(other)), (Names{"ldap1", "ldap2"}));
    EXPECT_EQ(names(table.not_pending(other)), Names{"ldap2"});
    auto at = table.not_pending(other).end();
    EXPECT_EQ((--at)->sname(), "ldap2");
    EXPECT_EQ(thrown_by([&] { table.erase("ldap2", other); }).code(), std::errc::invalid_argument);
}

TEST_F(Source, TenantsAreSeparate) {
    {
        const tarn::tenant_scope tenant(3);
        EXPECT_EQ(names(table), Names{});
        add(table, "ldap9");
        EXPECT_EQ(names(table), Names{"ldap9"});
        EXPECT_EQ(table.find("ldap9")->tenant(), 3U);
        EXPECT_EQ(table.size(), 1U);
    }
    EXPECT_EQ(names(table), Names{"ldap1"});
    EXPECT_EQ(table.size(), 4U);
    Names all;
    table.walk([&](const auto &record) { all.emplace_back(record.sname()); });
    EXPECT_EQ(all, (Names{"ldap1", "ldap1", "ldap2", "ldap9"}));
}

}  // namespace
}  // namespace face_test
