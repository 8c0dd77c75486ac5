// SPDX-License-Identifier: Apache-2.0
// The order in which ordered reads apply their filters, the cost of each entry that is
// skipped, and the records that are reported.
#include "tests/behaviour/table/traversal_fixture.h"

namespace tarn::test {
namespace {

class Filters : public ReadTest {
 protected:
    std::size_t steps() {
        return services.count("e_avl_get_next") + services.count("e_avl_get_prev");
    }
    // The services of the last read.
    std::string services_of_read() {
        const std::string text = services.order(
            {"kel_clear_last_error", "mt_get_tenant_id", "e_avl_get_first", "e_avl_get_last",
             "e_avl_get_next", "e_avl_get_prev", "kelrepl_add_to_cache"});
        services.clear();
        return text;
    }
};
TARN_EACH_TABLE_AND_MODE(Filters);

TEST_P(Filters, CostOneTreeStepPerSkippedEntry) {
    kel_record *a = put(0);
    put(0, 7);
    put(1, 9);
    kel_record *d = put(2);
    services.clear();
    EXPECT_EQ(read(s.by_key.next, a), d);
    EXPECT_EQ(services_of_read(),
              "kel_clear_last_error mt_get_tenant_id e_avl_get_next e_avl_get_next e_avl_get_next "
              "kelrepl_add_to_cache");
    EXPECT_EQ(read(s.by_key.prev, d), a);
    EXPECT_EQ(services_of_read(),
              "kel_clear_last_error mt_get_tenant_id e_avl_get_prev e_avl_get_prev e_avl_get_prev "
              "kelrepl_add_to_cache");
    EXPECT_EQ(read(s.by_key.first_by_src, 9), find(1, 9));
    services.clear();
    read(s.by_key.first_by_src, 9);
    EXPECT_EQ(services_of_read(),
              "kel_clear_last_error mt_get_tenant_id e_avl_get_first e_avl_get_next e_avl_get_next "
              "kelrepl_add_to_cache");
    read(s.by_key.last_by_src, 7);
    EXPECT_EQ(services_of_read(),
              "kel_clear_last_error mt_get_tenant_id e_avl_get_last e_avl_get_prev e_avl_get_prev "
              "kelrepl_add_to_cache");
}

TEST_P(Filters, StepFromEachEntryByTheTablesOrder) {
    kel_record *a = put(0);
    kel_record *between = put(1, 7);
    put(2);
    services.clear();
    read(s.by_key.next, a);
    const std::vector<ServiceCall> calls = services.calls("e_avl_get_next");
    ASSERT_EQ(calls.size(), 2U);
    const auto expected = [&](const kel_record *from) {
        return std::vector<u64>{word(table->index_root), word(&from->index_node),
                                word(s.index.compare)};
    };
    EXPECT_EQ(calls[0].arguments, expected(a));
    EXPECT_EQ(calls[1].arguments, expected(between));
}

// An entry that is skipped within the run ends a walk that has left the run.
TEST_P(Filters, TestTheTenantBeforeSourceAndPendingDestroy) {
    kel_record *low = put_for(0, 0);
    kel_record *second = put_for(1, 0, 7);
    put_for(2, 0);
    put_for(4, 0);
    put_for(5, 0, 7);
    kel_record *high = put_for(6, 0);
    kel_thread_set_tenant(2);
    services.clear();
    EXPECT_EQ(read(s.by_key.next, low), nullptr);
    EXPECT_EQ(steps(), 1U);
    set_pending(second);
    EXPECT_EQ(read(s.index.next_not_pending, low, 7), nullptr);
    EXPECT_EQ(read(s.by_key.next_ignore_src, low), nullptr);
    kel_thread_set_tenant(4);
    services.clear();
    EXPECT_EQ(read(s.by_key.prev, high), nullptr);
    EXPECT_EQ(steps(), 1U);
    EXPECT_EQ(read(s.by_key.prev_ignore_src, high), nullptr);
    EXPECT_EQ(err, 0U);
}

// A read from an end skips an entry of another source, of any tenant.
TEST_P(Filters, FromAnEndTestTheSourceBeforeTheTenant) {
    put_for(1, 0, 1);
    put_for(2, 0, 7);
    put_for(3, 0, 1);
    services.clear();
    EXPECT_EQ(read(s.by_key.first_by_src, 7), nullptr);
    EXPECT_EQ(steps(), 1U);
    services.clear();
    EXPECT_EQ(read(s.by_key.first), nullptr);
    EXPECT_EQ(steps(), 0U);
    kel_thread_set_tenant(4);
    services.clear();
    EXPECT_EQ(read(s.by_key.last_by_src, 7), nullptr);
    EXPECT_EQ(steps(), 1U);
    services.clear();
    EXPECT_EQ(read(s.by_key.last), nullptr);
    EXPECT_EQ(steps(), 0U);
}

TEST_P(Filters, FromAnEndSkipTheRecordsOfEarlierTenantsInOneStep) {
    for (u32 src = 1; src < 8; ++src) {
        put_for(1, 0, src);
        put_for(4, 0, src);
    }
    kel_record *low = put_for(3, 0);
    put_for(3, 1);
    kel_record *high = put_for(3, 2);
    kel_thread_set_tenant(3);
    for (const Traversal *t : names()) {
        services.clear();
        EXPECT_EQ(read(t->first), low);
        EXPECT_EQ(steps(), 1U);
        EXPECT_EQ(read(t->first_ignore_src), low);
        EXPECT_EQ(steps(), 2U);
        EXPECT_EQ(read(t->last), high);
        EXPECT_EQ(steps(), 3U);
    }
}

TEST_P(Filters, SkipPendingRecordsOfOtherTenantsToo) {
    set_pending(put_for(0, 0));
    set_pending(put_for(1, 0));
    kel_record *record = put_for(1, 1);
    set_pending(put_for(1, 2));
    set_pending(put_for(2, 0));
    kel_thread_set_tenant(1);
    EXPECT_EQ(read(s.index.first_not_pending, 1), record);
    EXPECT_EQ(read(s.index.last_not_pending, 1), record);
    set_pending(record);
    EXPECT_EQ(read(s.index.first_not_pending, 1), nullptr);
    EXPECT_EQ(read(s.index.last_not_pending, 1), nullptr);
}

TEST_P(Filters, ReportTheReturnedRecordOnce) {
    put(0);
    put(0, 7);
    kel_record *b = put(1);
    put(2);
    put(2, 7);
    const auto expect_one_report = [&](const Reads &reads) {
        for (const auto &each : reads) {
            services.clear();
            kel_record *record = each();
            EXPECT_EQ(reported(), record == nullptr ? Reported{} : Reported{record});
        }
    };
    begin();
    expect_one_report(reads_from_ends());
    expect_one_report(steps_from(b));
    expect_one_report(reads_from_ends(7));
    expect_one_report(steps_from(b, 7));
    handle->cr_tx_id = tx;
    for (u32 selector = 0; selector < 4; ++selector) {
        expect_one_report({[&] { return s.index.get_cr(handle, table, selector, b, 0, 0); }});
    }
    handle->cr_tx_id = KEL_TX_NONE;
    commit();
}

TEST_P(Filters, NeverReportAShadow) {
    kel_record *before = put(0, 254);
    kel_record *shadow = put(0, 255);
    kel_record *after = put(1, 1);
    const Key key(s, handle, 0);
    services.clear();
    EXPECT_EQ(read(s.index.next_internal, before, 255, 1, 1), shadow);
    EXPECT_EQ(read(s.index.prev_internal, after, 0, 0, 0), shadow);
    EXPECT_EQ(read(s.index.first_not_pending, 255), shadow);
    EXPECT_EQ(read(s.index.last_not_pending, 255), shadow);
    EXPECT_EQ(s.index.get_cr(handle, table, 3, before, 0, 1), shadow);
    EXPECT_EQ(read(s.index.next_by_key_w_src, key.value(), 255), nullptr);
    EXPECT_EQ(reported(), Reported{});
}

// A read from an end ignores its position.
TEST_P(Filters, OfTheCrFormReturnPendingRecordsAndIgnoreThePositionAtTheEnds) {
    kel_record *a = put(0);
    kel_record *b = put(1);
    kel_record *seventh = put(2, 7);
    set_pending(a);
    set_pending(b);
    auto *nowhere = reinterpret_cast<kel_record *>(std::uintptr_t{8});
    EXPECT_EQ(s.index.get_cr(handle, table, 0, nowhere, 0, 0), a);
    EXPECT_EQ(s.index.get_cr(handle, table, 1, nowhere, 0, 0), b);
    EXPECT_EQ(s.index.get_cr(handle, table, 3, a, 0, 0), b);
    EXPECT_EQ(s.index.get_cr(handle, table, 2, b, 0, 0), a);
    // The whole word of the mode counts, and the low byte of the source.
    EXPECT_EQ(s.index.get_cr(handle, table, 3, b, 0, 0x100), seventh);
    EXPECT_EQ(s.index.get_cr(handle, table, 1, nowhere, 0x107, 0), seventh);
}

}  // namespace
}  // namespace tarn::test
