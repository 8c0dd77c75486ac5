/* SPDX-License-Identifier: Apache-2.0 */
// Contenders that do the same small piece of work in turns.
#ifndef TARNBASE_BENCH_CONTEST_H
#define TARNBASE_BENCH_CONTEST_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "bench/cells.h"

namespace bench {

// A contender: `run(n)` does the work n times.
struct Contender {
    std::string name;
    std::function<void(std::uint32_t)> run;
};

struct Contest {
    const char *what;
    const char *object;
    std::vector<Contender> contenders;
    std::uint64_t records = 1;
    double operations = 1;  // in one piece of work
};

inline double time_of(const Contender &contender, std::uint32_t rounds) {
    const double start = cpu_nanoseconds();
    contender.run(rounds);
    return cpu_nanoseconds() - start;
}

// Prints the time of an operation, for each contender and repetition.
inline void hold(const Contest &contest, std::uint32_t repetitions) {
    constexpr double least = 20e6;  // ns of one repetition
    std::vector<std::uint32_t> rounds;
    for (const Contender &each : contest.contenders) {
        std::uint32_t count = 1;
        while (time_of(each, count) < least / 2 && count < (1U << 30)) count *= 2;
        rounds.push_back(count);
    }
    for (std::uint32_t repetition = 0; repetition < repetitions; ++repetition) {
        for (std::size_t i = 0; i < contest.contenders.size(); ++i) {
            const std::size_t at = (i + repetition) % contest.contenders.size();
            const Contender &each = contest.contenders[at];
            const double taken = time_of(each, rounds[at]);
            print_cell({contest.what, contest.object, contest.records, each.name.c_str()}, "ns",
                       taken / rounds[at] / contest.operations);
        }
    }
}

}  // namespace bench

#endif
