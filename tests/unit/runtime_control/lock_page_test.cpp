// SPDX-License-Identifier: Apache-2.0
// What is shown of the lock's holder.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <thread>

#include "runtime/control/lock_page.h"
#include "runtime/control/lock_protocol.h"

namespace tarn::test {
namespace {

using namespace tarnbase::runtime;

class LockPageTest : public ::testing::Test {
 protected:
    LockPageTest() {
        ::setenv("TZ", "UTC", 1);
        ::tzset();
    }

    LockPage page_{};
    Holder self_ = describe_this_process();
};

TEST_F(LockPageTest, AProcessDescribesItself) {
    EXPECT_EQ(self_.pid, static_cast<std::uint32_t>(::getpid()));
    EXPECT_NE(self_.start_time, 0u);
    EXPECT_NE(self_.pid_namespace, 0u);
    EXPECT_EQ(std::string(self_.command).rfind("runtime_control", 0), 0u) << self_.command;
    EXPECT_TRUE(may_be_alive(self_));
}

TEST_F(LockPageTest, TheHolderIsShownForItsAcquisitionAlone) {
    const std::uint64_t word = held_word(free_word(0x70000), 5);
    Holder shown{};
    EXPECT_FALSE(load_holder(page_, word, shown));
    self_.acquisition = static_cast<std::uint32_t>(acquisitions(word));
    self_.since = 4711;
    store_holder(page_, describe_this_process(), self_.acquisition, self_.since);
    ASSERT_TRUE(load_holder(page_, word, shown));
    EXPECT_TRUE(load_holder(page_, word | waiters_bit, shown));
    EXPECT_EQ(std::memcmp(&shown, &self_, sizeof shown), 0);
    EXPECT_FALSE(load_holder(page_, held_word(word, 5), shown));
}

TEST_F(LockPageTest, AHolderThatChangesIsShownWholeOrNotAtAll) {
    std::atomic<std::uint32_t> acquisition = 0;
    std::atomic<bool> ends = false;
    std::thread holders([&] {
        Holder holder{};
        for (std::uint32_t i = 1; !ends; ++i) {
            holder.pid = i;
            holder.start_time = i;
            acquisition = i;
            store_holder(page_, holder, i, i);
        }
    });
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
    std::uint64_t torn = 0;
    while (std::chrono::steady_clock::now() < end) {
        Holder shown{};
        const std::uint64_t word = std::uint64_t{acquisition} << acquisitions_shift;
        if (!load_holder(page_, word, shown)) continue;
        torn += shown.start_time != shown.pid || shown.since != shown.pid;
    }
    ends = true;
    holders.join();
    EXPECT_EQ(torn, 0u);
}

TEST_F(LockPageTest, AProcessWithAReusedPidIsNotTheHolder) {
    ++self_.start_time;
    EXPECT_FALSE(may_be_alive(self_));
    ++self_.pid_namespace;
    EXPECT_TRUE(may_be_alive(self_));
}

TEST_F(LockPageTest, TheTextNamesProcessCommandAndTime) {
    self_.pid = 4711;
    std::strcpy(self_.command, "daemon");
    self_.since = 1'795'335'601'234'567'890;
    EXPECT_EQ(holder_text(self_), "held by 4711 (daemon) since 2026-11-22 08:20:01");
    std::strcpy(self_.command, "d\n\x1b[2J");
    EXPECT_EQ(holder_text(self_), "held by 4711 (d??[2J) since 2026-11-22 08:20:01");
    ++self_.pid_namespace;
    self_.command[0] = '\0';
    self_.since = 0;
    EXPECT_EQ(holder_text(self_), "held by 4711 of another pid namespace");
    EXPECT_EQ(holder_text(Holder{}), "held by a process of another pid namespace");
}

}  // namespace
}  // namespace tarn::test
