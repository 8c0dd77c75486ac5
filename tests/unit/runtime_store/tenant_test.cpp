// SPDX-License-Identifier: Apache-2.0
// A table's records by tenant and source, against a model.
#include <cerrno>
#include <cstdio>
#include <map>
#include <utility>

#include "tests/unit/runtime_store/support.h"

namespace tarn::test {
namespace {

struct Counts {
    std::uint32_t total = 0;
    std::map<std::uint8_t, std::uint32_t> by_source;
};

class TenantTest : public SmallStoreTest {
 protected:
    void update(std::uint32_t tx, std::uint32_t direction, std::uint16_t tenant, std::uint8_t src) {
        keldb_update_tenant_counter(store.handle, tx, table, direction, tenant, src, &err);
    }
    std::uint32_t count(std::uint16_t tenant, const std::uint8_t *src = nullptr) {
        std::uint32_t found = 99;
        keldb_get_tenant_counter(store.handle, KEL_TX_NONE, table, &found, tenant, src);
        return found;
    }
    std::uint32_t count_of(std::uint16_t tenant, std::uint8_t src) { return count(tenant, &src); }

    kel_table *table = static_cast<kel_table *>(store.allocate(sizeof(kel_table)));
    std::uint32_t err = 0;
};

class RandomTenants : public TenantTest, public ::testing::WithParamInterface<std::uint32_t> {
 protected:
    void change(std::uint32_t tx) {
        const auto tenant = static_cast<std::uint16_t>(
            chance.below(2) == 0 ? chance.below(20) : 65516 + chance.below(20));
        const auto src = static_cast<std::uint8_t>(chance.below(2) == 0 ? 250 + chance.below(6)
                                                                        : chance.below(4));
        const bool up = chance.below(3) != 0;
        update(tx, up ? 1 : 0, tenant, src);
        ASSERT_EQ(err, 0U);
        Counts &counts = model[tenant];
        const auto move = [up](std::uint32_t &number) {
            if (up || number != 0) number = up ? number + 1 : number - 1;
        };
        move(counts.total);
        move(counts.by_source[src]);
    }

    void expect_model() {
        for (const auto &[tenant, counts] : model) {
            ASSERT_EQ(count(tenant), counts.total) << tenant;
            for (const auto &[src, number] : counts.by_source) {
                ASSERT_EQ(count_of(tenant, src), number) << tenant << " " << int{src};
            }
        }
    }

    Chance chance{GetParam()};
    std::map<std::uint16_t, Counts> model;
};

INSTANTIATE_TEST_SUITE_P(Tenants, RandomTenants, ::testing::Values(51U, 52U, 53U));

TEST_P(RandomTenants, CountsAreThoseOfAModel) {
    for (int step = 0; step < 1500 && !HasFailure(); ++step) {
        SCOPED_TRACE(seed_and_step(GetParam(), step));
        change(KEL_TX_NONE);
        if (step % 50 == 0) expect_model();
    }
    expect_model();
}

TEST_P(RandomTenants, CountsRolledBackLeaveEveryByteAsItWas) {
    for (int round = 0; round < 10 && !HasFailure(); ++round) {
        SCOPED_TRACE(seed_and_step(GetParam(), round));
        for (int i = 0; i < 5; ++i) change(KEL_TX_NONE);
        const auto kept = model;
        const StoreSnapshot before(store.store);
        const std::uint32_t tx = store.begin();
        for (int i = 0; i < 60; ++i) change(tx);
        store.roll_back(tx);
        EXPECT_EQ(to_text(before.changes()), "");
        model = kept;
        expect_model();
    }
}

TEST_F(TenantTest, UnknownTenantsCountZeroAndTakingFromThemMakesNothing) {
    const StoreSnapshot before(store.store);
    update(KEL_TX_NONE, 0, 7, 1);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(count(7), 0U);
    EXPECT_EQ(count_of(7, 1), 0U);
    EXPECT_EQ(to_text(before.changes()), "");
}

TEST_F(TenantTest, TablesCountApart) {
    update(KEL_TX_NONE, 1, 7, 1);
    auto *first = std::exchange(table, static_cast<kel_table *>(store.allocate(sizeof(kel_table))));
    EXPECT_EQ(count(7), 0U);
    table = first;
    EXPECT_EQ(count(7), 1U);
}

TEST_F(TenantTest, NoMemoryIsAnErrorThatChangesNothing) {
    const StoreSnapshot before(store.store);
    kel_store_fail_allocation(store.store, 1);
    update(KEL_TX_NONE, 1, 7, 1);
    EXPECT_EQ(err, std::uint32_t{ENOMEM});
    EXPECT_EQ(store.handle->last_error, std::uint32_t{ENOMEM});
    EXPECT_EQ(to_text(before.changes()), "");
}

TEST_F(TenantTest, AnErrorOnEntryKeepsTheCounters) {
    err = EINVAL;
    update(KEL_TX_NONE, 1, 7, 1);
    EXPECT_EQ(err, std::uint32_t{EINVAL});
    EXPECT_EQ(count(7), 0U);
}

TEST_F(TenantTest, CountersGoWithTheIdentityOfTheirTable) {
    kel_type_info descriptor{};
    std::snprintf(descriptor.kind, sizeof descriptor.kind, "table");
    const StoreSnapshot before(store.store);
    table->descriptor = &descriptor;
    for (std::uint16_t tenant = 1; tenant < 30; ++tenant) update(KEL_TX_NONE, 1, tenant, 1);
    EXPECT_GT(store.describe().blocks, 1U);
    EXPECT_NE(kel_request_oid_mapping_destroy(store.handle, KEL_TX_NONE, table, &err), 0U);
    table->descriptor = nullptr;
    EXPECT_EQ(to_text(before.changes()), "");
}

}  // namespace
}  // namespace tarn::test
