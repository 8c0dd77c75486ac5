// SPDX-License-Identifier: Apache-2.0
// Random operations on tables of each kind of key agree with a model of them. A
// failure prints its seed, its step and the operations before it.
//
//   TARNBASE_RANDOM_STEPS   steps of each test, for longer or shorter runs
//   TARNBASE_RANDOM_SEED    one run with this seed and that many steps, to repeat a failure
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <string>

#include "tests/behaviour/random/driver.h"

namespace tarn::test {
namespace {

constexpr u32 default_steps = 1000000;

// A test has runs with seeds 1, 2, 3, ..., which take the modes in turn.
constexpr u32 steps_of_a_run = 25000;

u64 number_from_environment(const char *name, u64 fallback) {
    const char *text = std::getenv(name);
    return text != nullptr ? std::strtoull(text, nullptr, 10) : fallback;
}

Mode mode_of_seed(u64 seed) { return all_modes[seed % std::size(all_modes)]; }

// Both tests of a kind have one: a process can open tables by id in one store only.
World &world_of(const Kind &kind) {
    static std::map<std::string, std::unique_ptr<World>> worlds;
    std::unique_ptr<World> &world = worlds[kind.name];
    if (world != nullptr) return *world;
    world = std::make_unique<World>();
    // The store allocates some blocks only once.
    for (u64 seed = 0; seed < std::size(all_modes); ++seed) {
        Driver(*world, {&kind, mode_of_seed(seed), seed, 200, false}).go();
    }
    return *world;
}

void silence(void *, u16, u32, const char *) {}

class RandomOperations : public ::testing::TestWithParam<Kind> {
 protected:
    RandomOperations() { kel_trace_set_sink(silence, nullptr); }
    ~RandomOperations() override { kel_trace_set_sink(nullptr, nullptr); }

    // All runs, or the one of the environment.
    void run(bool transactions) {
        const u64 steps = number_from_environment("TARNBASE_RANDOM_STEPS", default_steps);
        const u64 only = number_from_environment("TARNBASE_RANDOM_SEED", 0);
        if (only != 0) return run_one(only, steps, transactions);
        u64 seed = 1;
        for (u64 done = 0; done < steps && !HasFailure(); ++seed) {
            const u64 length = std::min<u64>(steps_of_a_run, steps - done);
            run_one(seed, length, transactions);
            done += length;
        }
    }

 private:
    void run_one(u64 seed, u64 steps, bool transactions) {
        World &world = world_of(GetParam());
        const kel_store_description before = world.session.describe();
        Driver(world,
               {&GetParam(), mode_of_seed(seed), seed, static_cast<u32>(steps), transactions})
            .go();
        if (HasFailure()) return;
        const kel_store_description after = world.session.describe();
        EXPECT_EQ(after.blocks, before.blocks) << "seed " << seed;
        EXPECT_EQ(after.block_bytes, before.block_bytes) << "seed " << seed;
        EXPECT_EQ(after.tables, before.tables) << "seed " << seed;
        EXPECT_EQ(after.transactions, 0U) << "seed " << seed;
    }
};

TEST_P(RandomOperations, AgreeWithTheModel) { run(false); }

TEST_P(RandomOperations, AgreeWithTheModelAfterRollbacks) { run(true); }

INSTANTIATE_TEST_SUITE_P(Kinds, RandomOperations, ::testing::ValuesIn(all_kinds()),
                         [](const ::testing::TestParamInfo<Kind> &kind) {
                             return std::string(kind.param.name);
                         });

}  // namespace
}  // namespace tarn::test
