// SPDX-License-Identifier: Apache-2.0
// The number of records in a table.
#include <cerrno>
#include <optional>
#include <vector>

#include "tests/behaviour/table/fixture.h"

namespace tarn::test {
namespace {

class Counts : public TableTest {};
TARN_EACH_TABLE_AND_MODE(Counts);

TEST_P(Counts, AreKeptInTotalAndBySource) {
    put(0);
    put(1);
    put(1, 7);
    EXPECT_EQ(s.plain.get_count(handle, tx, table), 3U);
    EXPECT_EQ(s.unsafe.get_count(handle, tx, table), 3U);
    EXPECT_EQ(s.cr.get_count(handle, table), 3U);
    EXPECT_EQ(s.plain.get_count_by_src(handle, tx, table, 1), 2U);
    EXPECT_EQ(s.unsafe.get_count_by_src(handle, tx, table, 7), 1U);
    EXPECT_EQ(s.plain.get_count_by_src(handle, tx, table, 8), 0U);
    EXPECT_EQ(s.plain.get_count_by_src(handle, tx, table, 257), 2U);
    EXPECT_EQ(services.count("keldb_get_tenant_counter"), 0U);
}

TEST_P(Counts, OfANullTableAreZero) {
    kel_thread_set_tenant(5);
    EXPECT_EQ(s.plain.get_count(handle, tx, nullptr), 0U);
    EXPECT_EQ(s.plain.get_count_by_src(handle, tx, nullptr, 1), 0U);
    EXPECT_EQ(s.cr.get_count(handle, nullptr), 0U);
}

TEST_P(Counts, OfATenantAreReadFromItsCounters) {
    put(0);
    kel_thread_set_tenant(5);
    put(0);
    put(1, 7);
    EXPECT_EQ(s.plain.get_count(handle, tx, table), 2U);
    EXPECT_EQ(s.plain.get_count_by_src(handle, tx, table, 7), 1U);
    EXPECT_EQ(s.cr.get_count(handle, table), 2U);
    kel_thread_set_tenant(6);
    EXPECT_EQ(s.plain.get_count(handle, tx, table), 0U);
    kel_thread_set_tenant(0);
    EXPECT_EQ(s.plain.get_count(handle, tx, table), 3U);
}

TEST_P(Counts, NeitherTestNorClearAnError) {
    handle->last_error = EINVAL;
    EXPECT_EQ(s.plain.get_count(handle, tx, table), 0U);
    EXPECT_EQ(s.cr.get_count(handle, table), 0U);
    EXPECT_EQ(s.plain.get_count_by_src(handle, tx, table, 1), 0U);
    EXPECT_EQ(handle->last_error, EINVAL);
}

TEST_P(Counts, OfATenantAreReadInTheCallersTransaction) {
    kel_thread_set_tenant(5);
    handle->cr_tx_id = 43;
    std::vector<std::optional<u8>> sources;
    services.at_each = [&](const ServiceCall &call) {
        if (call.name != "keldb_get_tenant_counter") return;
        const u8 *source = call.pointer<const u8>(5);
        sources.push_back(source == nullptr ? std::optional<u8>() : *source);
    };
    services.clear();
    s.plain.get_count(handle, 42, table);
    s.plain.get_count_by_src(handle, 42, table, 0x103);
    s.cr.get_count(handle, table);
    const auto reads = services.calls("keldb_get_tenant_counter");
    ASSERT_EQ(reads.size(), 3U);
    for (const ServiceCall &call : reads) {
        EXPECT_EQ(call.pointer<kel_table>(2), table);
        EXPECT_EQ(call.arguments[4], 5U) << "the tenant";
    }
    EXPECT_EQ(reads[0].tx_id(), 42U);
    EXPECT_EQ(reads[1].tx_id(), 42U);
    EXPECT_EQ(reads[2].tx_id(), 43U);
    EXPECT_EQ(sources, (std::vector<std::optional<u8>>{std::nullopt, u8{3}, std::nullopt}));
    handle->cr_tx_id = KEL_TX_NONE;
}

}  // namespace
}  // namespace tarn::test
