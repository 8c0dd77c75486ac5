// SPDX-License-Identifier: Apache-2.0
// Measures how much longer it takes to load the libraries and open a first table than to
// run an empty program. The two programs run alternately, so that a busy machine slows both.
//   load_time EMPTY FIRST_TABLE [RUNS]
#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

extern char **environ;

namespace {

using Clock = std::chrono::steady_clock;

double run_ms(char *program) {
    char *arguments[] = {program, nullptr};
    pid_t child = 0;
    int status = 0;
    const Clock::time_point start = Clock::now();
    if (posix_spawn(&child, program, nullptr, nullptr, arguments, environ) != 0 ||
        waitpid(child, &status, 0) != child || status != 0) {
        std::fprintf(stderr, "%s: failed\n", program);
        std::exit(1);
    }
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double median(std::vector<double> &times) {
    std::nth_element(times.begin(), times.begin() + static_cast<long>(times.size() / 2),
                     times.end());
    return times[times.size() / 2];
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s EMPTY FIRST_TABLE [RUNS]\n", argv[0]);
        return 2;
    }
    const int runs = argc > 3 ? std::atoi(argv[3]) : 101;
    std::vector<double> empty;
    std::vector<double> first_table;
    for (int i = 0; i < runs; ++i) {
        empty.push_back(run_ms(argv[1]));
        first_table.push_back(run_ms(argv[2]));
    }
    const double floor = median(empty);
    const double loaded = median(first_table);
    std::printf("empty program   %7.2f ms\nfirst table     %7.2f ms\ndifference      %7.2f ms\n",
                floor, loaded, loaded - floor);
    return 0;
}
