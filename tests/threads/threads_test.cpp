// SPDX-License-Identifier: Apache-2.0
// Data shared by threads: the usage counters in the constant descriptors, registrations on
// first use, and the directory after it is filled. Each thread has its own store and handle.
// The preset `tsan` builds this with ThreadSanitizer. ctest runs each test in its own
// process, so that its first use is the process's first.
#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "tarnbase/module.h"
#include "tarnbase/runtime.h"
#include "tarnbase/tables/tbl_test_label.h"
#include "tarnbase/tables/tbl_test_pair.h"
#include "tests/support/fixture.h"

namespace tarn::test {
namespace {

constexpr int thread_count = 8;
constexpr int rounds = 500;

// Runs `work` in all threads, which start together.
template <typename Work>
void in_all_threads(Work work) {
    std::barrier start(thread_count);
    std::vector<std::thread> threads;
    for (int number = 0; number < thread_count; ++number) {
        threads.emplace_back([&start, &work, number] {
            start.arrive_and_wait();
            work(number);
        });
    }
    for (std::thread &thread : threads) thread.join();
}

const kel_variant_usage &usage_of_st_every() {
    return _st_every_type_info_internal.variant_info->variants[0];
}

// Creates, uses and destroys a record with a text. Returns how many calls failed.
std::uint32_t one_life(kel_handle *handle, std::uint32_t tx, kel_table *table, int number) {
    std::uint32_t err = 0;
    kel_record *record = tbl_test_label_create_record(handle, tx, &err);
    st_every *object = st_every_create(handle, tx);
    kel_vstring label;
    const std::string text = "a label too long for a string itself " + std::to_string(number);
    kel_vstring_refer(&label, text.data(), static_cast<std::uint32_t>(text.size()));
    st_every_label_set(handle, tx, object, &label, &err);
    tbl_test_label_st_every_set_field(handle, tx, record, object);
    tbl_test_label_insert(handle, tx, table, record, &err);
    const bool found =
        tbl_test_label_st_every_label_search(handle, tx, table, &label, &err) == record;
    tbl_test_label_delete(handle, tx, table, record, &err);
    tbl_test_label_destroy_record(handle, tx, record, &err);
    return (err == 0 ? 0U : 1U) + (found ? 0U : 1U);
}

TEST(Threads, CountOnSharedDescriptorsWithoutLoss) {
    const kel_variant_usage before = usage_of_st_every();
    in_all_threads([](int) {
        const Session session;
        for (int i = 0; i < rounds; ++i) {
            st_every *object = st_every_create(session.handle(), KEL_TX_NONE);
            ASSERT_NE(object, nullptr);
            if (i % 2 == 0) st_every_destroy(session.handle(), KEL_TX_NONE, object);
        }
    });
    constexpr std::uint64_t made = std::uint64_t{thread_count} * rounds;
    EXPECT_EQ(usage_of_st_every().created - before.created, made);
    EXPECT_EQ(usage_of_st_every().destroyed - before.destroyed, made / 2);
    EXPECT_EQ(usage_of_st_every().live - before.live, made / 2);
}

TEST(Threads, RollBackOnlyTheirOwnCounts) {
    const kel_variant_usage before = usage_of_st_every();
    in_all_threads([](int number) {
        const Session session;
        for (int i = 0; i < rounds; ++i) {
            std::uint32_t tx = 0;
            ASSERT_EQ(kel_transaction_begin(session.handle(), &tx), 0U);
            ASSERT_NE(st_every_create(session.handle(), tx), nullptr);
            const bool keeps = number % 2 == 0;
            ASSERT_EQ(keeps ? kel_transaction_commit(session.handle(), tx)
                            : kel_transaction_rollback(session.handle(), tx),
                      0U);
        }
    });
    constexpr std::uint64_t kept = std::uint64_t{thread_count} / 2 * rounds;
    EXPECT_EQ(usage_of_st_every().created - before.created, kept);
    EXPECT_EQ(usage_of_st_every().live - before.live, kept);
}

TEST(Threads, RaceForTheFirstUseOfEverything) {
    std::atomic<std::uint32_t> failures = 0;
    in_all_threads([&failures](int number) {
        const Session session(all_modes[number % 3]);
        std::uint32_t err = 0;
        kel_table *table =
            tbl_test_label_table_open(session.handle(), KEL_TX_NONE, "first", 0, &err);
        failures += table == nullptr || err != 0 ? 1U : 0U;
        failures += one_life(session.handle(), KEL_TX_NONE, table, number);
        kel_table *pairs =
            tbl_test_pair_table_open(session.handle(), KEL_TX_NONE, "first", 0, &err);
        failures += pairs == nullptr || err != 0 ? 1U : 0U;
    });
    EXPECT_EQ(failures, 0U);
    EXPECT_NE(g_kel_tarnbase_type_trace_module_id, 0);
}

TEST(Threads, ReadTheDirectoryFilledByOneOfThem) {
    ASSERT_EQ(tarnbase_table_vft_init(), 0U);
    in_all_threads([](int) {
        const Session session;
        for (int i = 0; i < rounds; ++i) {
            const void *const *vector = nullptr;
            std::uint32_t err = 0;
            tarnbase_table_get_vft(session.handle(), KEL_TX_NONE, table_tbl_test_label_luid,
                                   &vector, &err);
            ASSERT_EQ(err, 0U);
            ASSERT_EQ(vector[0], tbl_test_label_table_vft[0]);
        }
    });
}

TEST(Threads, UseTheirOwnStoresInParallel) {
    std::atomic<std::uint32_t> failures = 0;
    in_all_threads([&failures](int number) {
        const Session session(all_modes[number % 3]);
        std::uint32_t err = 0;
        kel_table *table = tbl_test_label_table_open(session.handle(), KEL_TX_NONE, "own", 0, &err);
        const std::uint64_t blocks = session.blocks();
        for (int i = 0; i < rounds; ++i) {
            std::uint32_t tx = 0;
            kel_transaction_begin(session.handle(), &tx);
            failures += one_life(session.handle(), tx, table, i);
            if (i % 2 == 0) {
                kel_transaction_commit(session.handle(), tx);
            } else {
                kel_transaction_rollback(session.handle(), tx);
            }
        }
        failures += session.blocks() == blocks ? 0U : 1U;
    });
    EXPECT_EQ(failures, 0U);
}

TEST(Threads, HaveTheirOwnTenants) {
    std::atomic<std::uint32_t> failures = 0;
    in_all_threads([&failures](int number) {
        const auto own = static_cast<std::uint16_t>(number + 1);
        kel_thread_set_tenant(own);
        const Session session;
        for (int i = 0; i < rounds; ++i) {
            std::uint32_t err = 0;
            kel_record *record = tbl_test_label_create_record(session.handle(), KEL_TX_NONE, &err);
            if (record == nullptr || record->tenant_id != own) ++failures;
            tbl_test_label_destroy_record(session.handle(), KEL_TX_NONE, record, &err);
        }
    });
    EXPECT_EQ(failures, 0U);
}

}  // namespace
}  // namespace tarn::test
