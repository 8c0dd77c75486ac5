// SPDX-License-Identifier: Apache-2.0
// How long single inserts with their commits take, in a store with files, in a private one and in
// LMDB: by the clock, and in processor time, which a busy machine changes less. A loop that only
// stores into new memory shows what the machine itself adds. Prints a JSON object for each figure.
//   stall_bench [COMMITS]
#include <sys/resource.h>

#include <cstring>
#include <string>
#include <vector>

#include "bench/cells.h"
#ifdef TARNBASE_HAS_LMDB
#include "bench/contenders/lmdb.h"
#endif
#include "bench/contenders/tarnbase.h"
#include "bench/processes.h"

namespace {

using bench::print_cell;

std::uint32_t commits = 1'000'000;
std::vector<std::uint32_t> order;

// Nanoseconds of processor time of this thread, in the kernel too.
std::uint64_t thread_nanoseconds() {
    std::timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000 +
           static_cast<std::uint64_t>(now.tv_nsec);
}

class Times {
 public:
    void add(std::uint64_t nanoseconds) {
        histogram_.add(nanoseconds);
        over_200_us_ += nanoseconds > 200'000 ? 1 : 0;
        over_1_ms_ += nanoseconds > 1'000'000 ? 1 : 0;
    }
    void print(const char *clock, const char *contender) const {
        const auto print = [&](const std::string &what, const char *unit, double value) {
            print_cell({what.c_str(), clock, commits, contender}, unit, value);
        };
        for (const double part : {0.5, 0.99, 0.999, 0.9999}) {
            print(std::to_string(part * 100).substr(0, 5) + " % of commits", "us",
                  static_cast<double>(histogram_.quantile(part)) / 1e3);
        }
        print("longest commit", "us", static_cast<double>(histogram_.most()) / 1e3);
        print("commits longer than 0.2 ms", "", static_cast<double>(over_200_us_));
        print("commits longer than 1 ms", "", static_cast<double>(over_1_ms_));
    }

 private:
    bench::Histogram histogram_;
    std::uint64_t over_200_us_ = 0;
    std::uint64_t over_1_ms_ = 0;
};

// As many bytes as a record takes, in the time that a commit takes.
class NewMemory {
 public:
    static constexpr const char *name = "new memory alone";

    NewMemory()
        : memory_(
              static_cast<char *>(::mmap(nullptr, commits * record_bytes, PROT_READ | PROT_WRITE,
                                         MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
        bench::need(memory_ != MAP_FAILED, "mmap");
    }
    void begin() { start_ = bench::Clock::now(); }
    void insert(const bench::TextKey &, std::uint32_t number) {
        std::memset(memory_ + number * record_bytes, 1, record_bytes);
    }
    void commit() const {
        while (bench::nanoseconds_since(start_) < commit_nanoseconds) {
        }
    }

 private:
    static constexpr std::size_t record_bytes = 240;
    static constexpr std::uint64_t commit_nanoseconds = 2000;

    char *memory_;
    bench::Clock::time_point start_;
};

template <typename Contender>
void measure() {
    bench::run_apart([] {
        Contender table;
        Times by_clock, of_processor;
        rusage before{}, after{};
        ::getrusage(RUSAGE_THREAD, &before);
        for (std::uint32_t i = 0; i < commits; ++i) {
            const bench::TextKey key(order[i]);
            const std::uint64_t used = thread_nanoseconds();
            const auto start = bench::Clock::now();
            table.begin();
            table.insert(key, i);
            table.commit();
            by_clock.add(bench::nanoseconds_since(start));
            of_processor.add(thread_nanoseconds() - used);
        }
        ::getrusage(RUSAGE_THREAD, &after);
        by_clock.print("clock", Contender::name);
        of_processor.print("processor", Contender::name);
        const auto print = [](const char *what, long count) {
            print_cell({what, "writer", commits, Contender::name}, "", static_cast<double>(count));
        };
        print("waits", after.ru_nvcsw - before.ru_nvcsw);
        print("interruptions", after.ru_nivcsw - before.ru_nivcsw);
        print("page faults", after.ru_minflt - before.ru_minflt);
    });
}

}  // namespace

int main(int count, char **arguments) {
    if (count > 1) commits = static_cast<std::uint32_t>(std::stoul(arguments[1]));
    order = bench::shuffled(commits, 1);
    measure<bench::WithFiles<bench::TextKey>>();
    measure<bench::Private<bench::TextKey>>();
#ifdef TARNBASE_HAS_LMDB
    measure<bench::Lmdb<bench::TextKey>>();
#endif
    measure<NewMemory>();
    return 0;
}
