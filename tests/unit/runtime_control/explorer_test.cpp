// SPDX-License-Identifier: Apache-2.0
// The lock and publish protocol in every order of steps, with deaths at every step.
#include <gtest/gtest.h>

#include "runtime/control/lock_protocol.h"
#include "tests/unit/runtime_control/explorer.h"

namespace tarn::test {
namespace {

using namespace tarnbase::runtime;
using Kind = Operation::Kind;

class LockSteps {
 public:
    // Without patience the time is over after the first sleep.
    LockSteps(Replay &replay, bool patient)
        : word(replay, Place::lock), replay_(replay), patient_(patient) {}

    bool is_alive(std::uint32_t number) {
        return replay_({Kind::is_alive, Place::lock, number}) != 0;
    }
    bool time_is_over() const { return slept_ && !patient_; }
    void sleep(std::uint64_t seen) {
        replay_({Kind::sleep, Place::lock, seen});
        slept_ = true;
    }
    void wake() { replay_({Kind::wake_one, Place::lock}); }

    ReplayWord word;

 private:
    Replay &replay_;
    bool patient_;
    bool slept_ = false;
};

class PublishSteps {
 public:
    PublishSteps(Replay &replay, bool may_write)
        : published(replay, Place::published),
          waiters(replay, Place::waiters),
          replay_(replay),
          may_write_(may_write) {}

    bool may_write() const { return may_write_; }
    bool time_is_over() { return replay_({Kind::others_write}) == 0; }
    void sleep(std::uint64_t seen) { replay_({Kind::sleep, Place::published, seen}); }
    void wake() { replay_({Kind::wake_all, Place::published}); }

    ReplayWord published;
    ReplayWord waiters;

 private:
    Replay &replay_;
    bool may_write_;
};

enum Phase : unsigned { arrive, take, publish, release };

void write(Replay &replay, Locals &self, unsigned commits, bool patient) {
    LockSteps lock(replay, patient);
    PublishSteps log(replay, true);
    switch (self.phase) {
        case arrive:
            self.number = static_cast<std::uint32_t>(replay({Kind::take_number}));
            release_inherited_number(lock, self.number);
            self.phase = take;
            return;
        case take:
            self.word = take_lock(lock, self.number);
            self.phase = self.word != 0 ? publish : last_phase;
            return;
        case publish: {
            const std::uint64_t position = log.published.load();
            replay({Kind::append});
            publish_position(log, position + 1);
            self.phase = release;
            return;
        }
        case release:
            release_lock(lock, self.word);
            self.word = 0;
            self.phase = ++self.commits < commits ? take : last_phase;
            return;
        default:
            return;
    }
}

// Waits for positions until nobody writes any more.
void follow(Replay &replay, Locals &self, bool may_write) {
    PublishSteps log(replay, may_write);
    if (wait_for_position(log, self.position)) {
        ++self.position;
    } else {
        self.phase = last_phase;
    }
}

// Has a number, and never takes the lock.
void arrive_and_follow(Replay &replay, Locals &self) {
    if (self.phase != arrive) return follow(replay, self, true);
    write(replay, self, 0, true);
}

void write_once(Replay &replay, Locals &self) { write(replay, self, 1, true); }
void write_twice(Replay &replay, Locals &self) { write(replay, self, 2, true); }
void write_in_haste(Replay &replay, Locals &self) { write(replay, self, 1, false); }
void follow_with_flag(Replay &replay, Locals &self) { follow(replay, self, true); }
void follow_without_flag(Replay &replay, Locals &self) { follow(replay, self, false); }

void explore(const std::vector<Program> &programs, Limits limits) {
    Explorer explorer(programs, limits);
    EXPECT_EQ(explorer.run(), "");
    ::testing::Test::RecordProperty("states", std::to_string(explorer.states()));
}

constexpr Limits nobody_dies{0, 0, true};

TEST(LockExplorerTest, NoWakeUpIsLostWhileNobodyDies) {
    explore({write_once, write_once, write_once}, nobody_dies);
    explore({write_twice, write_twice}, nobody_dies);
}

TEST(LockExplorerTest, AWriterThatGivesUpDisturbsNobody) {
    explore({write_once, write_once, write_in_haste}, {1, 0, false});
}

TEST(LockExplorerTest, TwoOfThreeWritersDie) {
    explore({write_once, write_once, write_once}, {2, 0, false});
}

TEST(LockExplorerTest, AnIdleProcessWithTheNumberOfADeadWriterIsNotWaitedFor) {
    explore({write_once, write_once, arrive_and_follow}, {1, 0, false});
}

TEST(LockExplorerTest, AWriterThatComesAgainDies) {
    explore({write_twice, write_twice}, {1, 2, false});
}

TEST(PublishExplorerTest, NoWakeUpIsLostWhileNobodyDies) {
    explore({write_twice, follow_with_flag, follow_with_flag}, nobody_dies);
    explore({write_once, write_once, follow_with_flag}, nobody_dies);
}

TEST(PublishExplorerTest, ThoseWhomADeadWriterHasNotWokenAreWokenByTheNext) {
    explore({write_once, write_once, follow_with_flag}, {1, 0, true});
}

TEST(PublishExplorerTest, EachPositionIsSeenWhoeverDies) {
    explore({write_once, write_once, follow_with_flag}, {2, 0, false});
    explore({write_twice, follow_with_flag, follow_without_flag}, {1, 1, false});
}

}  // namespace
}  // namespace tarn::test
