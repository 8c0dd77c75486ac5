/* SPDX-License-Identifier: Apache-2.0 */
// Carries out rounds on a store.
#ifndef TESTS_CRASH_PLAYER_H
#define TESTS_CRASH_PLAYER_H

#include <functional>
#include <optional>

#include "tarnbase/tarn/transaction.hpp"
#include "tests/crash/subjects.h"

namespace crash {

class Player {
 public:
    explicit Player(tarn::store &store);
    // Rolls back what is open.
    ~Player();

    // Called before each event of a whole round and after it.
    std::function<void()> begun = [] {};
    std::function<void()> done = [] {};

    void play(const Round &round);
    // Plays from the operation `from` to the end of `count` events. Returns the
    // next operation.
    std::size_t play(const Round &round, std::size_t from, std::uint64_t count);
    // Rolls back what is open.
    void abandon();

 private:
    struct Side {
        tarn::session session;
        std::optional<tarn::transaction> transaction;
        std::array<std::unique_ptr<Table>, subject_count> tables;
    };
    void play(const Operation &operation);
    void set_up(const Operation &operation);
    void make_checkpoint();
    void open(Subject subject);
    Table &table(const Operation &operation);

    tarn::store &store_;
    std::array<Side, 2> sides_;
};

}  // namespace crash

#endif
