// SPDX-License-Identifier: Apache-2.0
// Reading scopes of threads, and changes that they keep away.
#include "runtime/store/reading_scopes.h"

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <chrono>
#include <thread>
#include <vector>

namespace tarn::test {
namespace {

using tarnbase::runtime::ReadingScopes;

// Runs `action` in another thread, to its end.
template <typename Action>
void in_a_thread(Action action) {
    std::thread(action).join();
}

void begin(ReadingScopes &scopes) {
    if (!scopes.try_begin_read()) scopes.wait_and_begin_read();
}

TEST(ReadingScopes, BelongToAThreadAndMayNest) {
    ReadingScopes scopes;
    EXPECT_FALSE(scopes.is_reading());
    EXPECT_FALSE(scopes.end_read());
    EXPECT_TRUE(scopes.try_begin_read());
    EXPECT_TRUE(scopes.try_begin_read());
    in_a_thread([&] {
        EXPECT_FALSE(scopes.is_reading());
        EXPECT_FALSE(scopes.end_read());
    });
    EXPECT_TRUE(scopes.end_read());
    EXPECT_TRUE(scopes.is_reading());
    EXPECT_TRUE(scopes.end_read());
    EXPECT_FALSE(scopes.is_reading());
}

TEST(ReadingScopes, KeepAChangeAwayUntilTheLastOneEnds) {
    ReadingScopes scopes;
    begin(scopes);
    begin(scopes);
    in_a_thread([&] { EXPECT_FALSE(scopes.begin_change(0)); });
    EXPECT_TRUE(scopes.end_read());
    in_a_thread([&] { EXPECT_FALSE(scopes.begin_change(0)); });
    EXPECT_TRUE(scopes.end_read());
    in_a_thread([&] {
        EXPECT_TRUE(scopes.begin_change(0));
        scopes.end_change();
    });
}

TEST(ReadingScopes, AChangeThatWaitsKeepsNewOnesOutButNoNestedOnes) {
    ReadingScopes scopes;
    begin(scopes);
    std::thread changer([&] {
        EXPECT_TRUE(scopes.begin_change(-1));
        scopes.end_change();
    });
    bool kept_out = false;
    while (!kept_out) {
        in_a_thread([&] {
            kept_out = !scopes.try_begin_read();
            if (!kept_out) scopes.end_read();
        });
    }
    EXPECT_TRUE(scopes.try_begin_read());
    EXPECT_TRUE(scopes.end_read());
    EXPECT_TRUE(scopes.end_read());
    changer.join();
}

TEST(ReadingScopes, OneThatWaitedForAChangeIsOpenedBeforeTheNext) {
    int opened_before = 0;
    for (int i = 0; i < 20; ++i) {
        ReadingScopes scopes;
        ASSERT_TRUE(scopes.begin_change(-1));
        std::atomic<bool> was_open = false;
        std::thread reader([&] {
            scopes.wait_and_begin_read();
            was_open = true;
            scopes.end_read();
        });
        // On a busy machine it may not wait yet.
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        scopes.end_change();
        ASSERT_TRUE(scopes.begin_change(-1));
        opened_before += was_open ? 1 : 0;
        scopes.end_change();
        reader.join();
    }
    EXPECT_GT(opened_before, 0);
}

TEST(ReadingScopes, OneWithinAChangeOfItsThreadKeepsTheNextChangeAway) {
    ReadingScopes scopes;
    ASSERT_TRUE(scopes.begin_change(-1));
    scopes.begin_read_in_change();
    scopes.end_change();
    in_a_thread([&] { EXPECT_FALSE(scopes.begin_change(0)); });
    EXPECT_TRUE(scopes.end_read());
    EXPECT_TRUE(scopes.begin_change(0));
    scopes.end_change();
}

TEST(ReadingScopes, AChangeWaitsForAnotherOne) {
    ReadingScopes scopes;
    ASSERT_TRUE(scopes.begin_change(-1));
    in_a_thread([&] { EXPECT_FALSE(scopes.begin_change(1)); });
    std::thread second([&] {
        EXPECT_TRUE(scopes.begin_change(-1));
        scopes.end_change();
    });
    std::thread third([&] {
        while (!scopes.begin_change_or_wait()) {
        }
        scopes.end_change();
    });
    scopes.end_change();
    second.join();
    third.join();
}

TEST(ReadingScopes, OfManyThreadsHaveASlotEach) {
    constexpr int thread_count = 100;
    ReadingScopes scopes;
    std::barrier all_open(thread_count + 1);
    std::barrier may_end(thread_count + 1);
    std::vector<std::thread> threads;
    for (int i = 0; i < thread_count; ++i) {
        threads.emplace_back([&] {
            begin(scopes);
            all_open.arrive_and_wait();
            may_end.arrive_and_wait();
            EXPECT_TRUE(scopes.end_read());
            EXPECT_FALSE(scopes.end_read());
        });
    }
    all_open.arrive_and_wait();
    EXPECT_FALSE(scopes.begin_change(0));
    may_end.arrive_and_wait();
    EXPECT_TRUE(scopes.begin_change(-1));
    scopes.end_change();
    for (std::thread &thread : threads) thread.join();
}

// Readers without a pause between their scopes and changers without a pause between their changes:
// all of them reach their number, and no scope sees half a change.
TEST(ReadingScopes, NeitherReadersNorChangesStarve) {
    constexpr int rounds = 3000;
    ReadingScopes scopes;
    std::uint64_t first = 0, second = 0;
    std::atomic<int> torn = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                begin(scopes);
                if (first != second) torn += 1;
                scopes.end_read();
            }
        });
    }
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&, waits = i == 0] {
            for (int round = 0; round < rounds; ++round) {
                if (waits) {
                    ASSERT_TRUE(scopes.begin_change(-1));
                } else {
                    while (!scopes.begin_change_or_wait()) {
                    }
                }
                first += 1;
                second += 1;
                scopes.end_change();
            }
        });
    }
    for (std::thread &thread : threads) thread.join();
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(first, 2U * rounds);
}

}  // namespace
}  // namespace tarn::test
