// SPDX-License-Identifier: Apache-2.0
// Readers of a store beside its writer, each a process of its own, and what a reading scope and a
// refresh cost. Prints a JSON object for each measurement. Arguments: seconds for each
// (default 2).
#include <algorithm>
#include <ctime>
#include <thread>
#include <vector>

#include "bench/processes.h"
#include "tarnbase/tarn/snapshot.hpp"
#include "tarnbase/tarn/tables/ldap_conn.hpp"
#include "tarnbase/tarn/transaction.hpp"

namespace {

using bench::Clock;
using bench::nanoseconds_since;
using Table = tarn::table<tarn::ldap_conn>;
using std::chrono::nanoseconds;

constexpr std::uint32_t records = 10000;
constexpr int most_readers = 16;
constexpr const char *table_name = "bench";

double seconds = 2;

std::string name_of(std::uint32_t number) { return "ldap" + std::to_string(number); }

void fill(const std::string &path) {
    const tarn::store store = tarn::store::create(path);
    tarn::session session(store);
    tarn::transaction transaction(session);
    auto table = Table::open_or_create(session, table_name);
    for (std::uint32_t i = 0; i < records; ++i) table.insert(table.make(name_of(i)));
    transaction.commit();
}

// What the processes of a measurement share.
struct Course {
    std::atomic<int> ready = 0;
    std::atomic<bool> begun = false;
    std::atomic<bool> ended = false;
    std::atomic<std::uint64_t> sum = 0;  // of what was read
    bench::Histogram writer;
    std::array<bench::Histogram, most_readers> readers;
};

// Commits an update per transaction, at most `per_second`; 0: as fast as it can.
void write_until_the_end(Course &course, const std::string &path, std::uint32_t per_second) {
    const tarn::store store = tarn::store::open(path);
    tarn::session session(store);
    const auto table = Table::open(session, table_name);
    bench::Chance chance(1);
    ++course.ready;
    while (!course.begun) std::this_thread::yield();
    const auto pause = nanoseconds(per_second != 0 ? 1'000'000'000 / per_second : 0);
    auto next = Clock::now();
    while (!course.ended) {
        // A late transaction doesn't delay the next ones.
        for (next += pause; Clock::now() < next;) std::this_thread::yield();
        const std::uint32_t number = chance();
        const std::string name = name_of(number % records);
        const auto start = Clock::now();
        tarn::transaction transaction(session);
        table.find(name)->set_num_conns(number);
        transaction.commit();
        course.writer.add(nanoseconds_since(start));
    }
}

// Reads a record in each snapshot.
void read_until_the_end(Course &course, const std::string &path, int reader) {
    const tarn::store store = tarn::store::open(path);
    const tarn::session session(store);
    const auto table = Table::open(session, table_name);
    bench::Chance chance(static_cast<std::uint32_t>(reader) + 2);
    std::uint64_t sum = 0;
    bench::Histogram &times = course.readers[static_cast<std::size_t>(reader)];
    ++course.ready;
    while (!course.begun) std::this_thread::yield();
    while (!course.ended) {
        const std::string name = name_of(chance() % records);
        const auto start = Clock::now();
        const tarn::snapshot now(session);
        sum += table.find(name)->num_conns();
        times.add(nanoseconds_since(start));
    }
    course.sum += sum;
}

void print_times(const char *whose, const bench::Histogram &times, double taken) {
    std::printf(
        ", \"%s_per_second\": %.0f, \"%s_ns\": {\"p50\": %llu, \"p99\": %llu, "
        "\"p99.9\": %llu, \"max\": %llu}",
        whose, static_cast<double>(times.count()) / taken, whose,
        static_cast<unsigned long long>(times.quantile(0.5)),
        static_cast<unsigned long long>(times.quantile(0.99)),
        static_cast<unsigned long long>(times.quantile(0.999)),
        static_cast<unsigned long long>(times.most()));
}

void measure_processes(const std::string &path, int readers, std::uint32_t per_second) {
    const bench::Shared<Course> course;
    std::vector<bench::Process> processes;
    processes.emplace_back([&] { write_until_the_end(*course, path, per_second); });
    for (int i = 0; i < readers; ++i)
        processes.emplace_back([&, i] { read_until_the_end(*course, path, i); });
    while (course->ready != readers + 1) std::this_thread::yield();
    const auto start = Clock::now();
    course->begun = true;
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    course->ended = true;
    const double taken = static_cast<double>(nanoseconds_since(start)) / 1e9;
    for (bench::Process &process : processes) process.wait();
    std::printf("{\"writer\": \"%s\", \"readers\": %d",
                per_second != 0 ? "10000 a second" : "full speed", readers);
    print_times("commits", course->writer, taken);
    bench::Histogram all;
    for (const bench::Histogram &each : course->readers) all.add(each);
    if (readers != 0) print_times("snapshots", all, taken);
    std::printf("}\n");
}

double thread_nanoseconds() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

// The processor time that an operation takes.
template <typename Operation>
double cost(Operation operation) {
    constexpr int rounds = 2'000'000;
    const double start = thread_nanoseconds();
    for (int i = 0; i < rounds; ++i) operation();
    return (thread_nanoseconds() - start) / rounds;
}

// The cost for each of several threads that run at once; the least of some measurements.
void measure_scopes(kel_store *store, int threads) {
    double least = 1e9;
    for (int attempt = 0; attempt < 5; ++attempt) {
        std::atomic<int> ready = 0;
        std::vector<double> costs(static_cast<std::size_t>(threads));
        std::vector<std::thread> running;
        for (double &each : costs) {
            running.emplace_back([&] {
                for (++ready; ready != threads;) std::this_thread::yield();
                each = cost([&] {
                    kel_store_begin_read(store, 0);
                    kel_store_end_read(store);
                });
            });
        }
        for (std::thread &thread : running) thread.join();
        least = std::min(least, *std::max_element(costs.begin(), costs.end()));
    }
    std::printf("{\"reading scope\": \"begin and end\", \"threads\": %d, \"ns\": %.1f}\n", threads,
                least);
}

void measure_calls(const std::string &path) {
    const tarn::store store = tarn::store::open(path);
    const tarn::session session(store);
    for (const int threads : {1, 2, 4}) measure_scopes(store.c_store(), threads);
    double refresh = 1e9, snapshot = 1e9;
    for (int attempt = 0; attempt < 5; ++attempt) {
        refresh = std::min(refresh, cost([&] { kel_store_refresh(store.c_store()); }));
        snapshot = std::min(snapshot, cost([&] { const tarn::snapshot now(session); }));
    }
    std::printf("{\"refresh without changes\": %.1f, \"snapshot\": %.1f, \"unit\": \"ns\"}\n",
                refresh, snapshot);
}

}  // namespace

int main(int count, char **arguments) try {
    if (count > 1) seconds = std::atof(arguments[1]);
    const bench::Folder folder;
    fill(folder.store());
    for (const int readers : {0, 1, 4}) measure_processes(folder.store(), readers, 10000);
    for (const int readers : {0, 1, 4, 16}) measure_processes(folder.store(), readers, 0);
    measure_calls(folder.store());
} catch (const std::exception &error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
