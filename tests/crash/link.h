/* SPDX-License-Identifier: Apache-2.0 */
// One link of a chain: a process opens the store, checks it, works on and is killed.
#ifndef TESTS_CRASH_LINK_H
#define TESTS_CRASH_LINK_H

#include <cstdint>
#include <string>

#include "tarnbase/journal.h"
#include "tests/crash/model.h"
#include "tests/crash/points.h"

namespace crash {

// Of all stores: the smaller it is, the less a process has to map and a checkpoint to contain.
inline constexpr std::uint64_t capacity = 64ULL << 20;

// What the process leaves in memory that it shares with its parent.
struct Journal {
    std::uint64_t begun;  // events, since the link began
    std::uint64_t done;
    std::uint64_t points;  // counted, if the process ended by itself
    std::uint64_t blocks;  // of the store when it was checked
    std::uint32_t tables;
    std::uint32_t types;
    bool is_checked;  // the numbers above are set
    bool is_before;   // the content is that before the event in flight
    bool is_after;    // or that after it
    bool is_finished;
    char failure[1000];  // empty: none
};

// Where a process dies.
struct Kill {
    std::uint64_t at = 0;  // a point; 0: none. With `instructions`: an event, 0: the opening
    Stores stores = Stores::every;
    std::uint64_t instructions = 0;  // single steps from the event on
};

struct Link {
    std::string path;    // of the store
    std::uint64_t seed;  // of the rounds
    Kill kill;
    std::uint64_t rounds;  // the process ends after these
    const State &before;   // what the store may contain
    const State &after;
    std::uint32_t journal = KEL_JOURNAL_OFF;  // of the store: it is set first
    bool is_durable = false;                  // each commit, too
};

// The rounds of a link: the first one opens, the others are random.
Round round_of(const Link &link, std::uint64_t number, const State &state);

// Runs the link in a process of its own. Returns how it ended, "" if it was killed at its point
// or finished, and the journal says which.
std::string run(const Link &link, Journal &journal);

}  // namespace crash

#endif
