/* SPDX-License-Identifier: Apache-2.0 */
// A cell of a comparison: one JSON object a line, which `report` reads.
#ifndef TARNBASE_BENCH_CELLS_H
#define TARNBASE_BENCH_CELLS_H

#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace bench {

struct Cell {
    const char *what;
    const char *key;  // the kind of key or of object
    std::uint64_t records;
    const char *contender;
};

inline void print_cell(const Cell &cell, const char *unit, double value) {
    std::printf(
        "{\"what\": \"%s\", \"key\": \"%s\", \"records\": %llu, \"contender\": \"%s\", "
        "\"unit\": \"%s\", \"value\": %.3f}\n",
        cell.what, cell.key, static_cast<unsigned long long>(cell.records), cell.contender, unit,
        value);
}

// Nanoseconds of processor time of all threads of this process: other processes don't count.
inline double cpu_nanoseconds() {
    std::timespec now{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

// Runs the function in a process of its own, so that none inherits the heap of another.
template <typename Function>
void run_apart(const Function &function) {
    std::fflush(stdout);
    const pid_t child = ::fork();
    if (child == 0) {
        function();
        std::fflush(stdout);
        ::_exit(0);
    }
    int status = -1;
    if (child < 0 || ::waitpid(child, &status, 0) != child || status != 0) {
        std::fputs("a measurement has failed\n", stderr);
        std::exit(1);
    }
}

}  // namespace bench

#endif
