// SPDX-License-Identifier: Apache-2.0
// Opening a large store, the memory of a reader beside the size of the store, and how long another
// process needs after a writer was killed in a transaction. Prints a JSON object for each
// measurement. Arguments: records of the large store (default 1000000), seconds of changes
// (default 10).
#include <algorithm>
#include <fstream>
#include <stdexcept>
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

constexpr const char *table_name = "bench";

std::uint32_t records = 1'000'000;
double seconds = 10;

std::string name_of(std::uint32_t number) { return "ldap" + std::to_string(number); }

double milliseconds_since(Clock::time_point start) {
    return static_cast<double>(nanoseconds_since(start)) / 1e6;
}

void fill(const std::string &path) {
    tarn::store store = tarn::store::create(path);
    tarn::session session(store);
    for (std::uint32_t i = 0; i < records;) {
        tarn::transaction transaction(session);
        auto table = Table::open_or_create(session, table_name);
        for (const std::uint32_t end = std::min(i + 10000, records); i < end; ++i)
            table.insert(table.make(name_of(i)));
        transaction.commit();
    }
    store.compact();
}

// Memory of this process in bytes. Pages of a file on tmpfs that no other process maps are among
// the dirty ones, though nothing was stored in them; anonymous ones are the process's own.
struct Memory {
    unsigned long long private_dirty = 0;
    unsigned long long anonymous = 0;
};

Memory memory() {
    Memory found;
    std::ifstream lines("/proc/self/smaps_rollup");
    std::string name, unit;
    std::getline(lines, name);
    for (unsigned long long kilobytes = 0; lines >> name >> kilobytes >> unit;) {
        if (name == "Private_Dirty:") found.private_dirty = kilobytes * 1024;
        if (name == "Anonymous:") found.anonymous = kilobytes * 1024;
    }
    return found;
}

unsigned long long visit_all(const tarn::session &session) {
    unsigned long long sum = 0;
    const tarn::snapshot now(session);
    for (const auto record : Table::open(session, table_name)) sum += record.num_conns();
    return sum;
}

// ---- Opening.

void measure_opening(const std::string &path) {
    std::vector<double> times;
    for (int i = 0; i < 7; ++i) {
        bench::Shared<double> taken;
        bench::Process process([&] {
            const auto start = Clock::now();
            const tarn::store store = tarn::store::open(path);
            *taken = milliseconds_since(start);
        });
        process.wait();
        times.push_back(*taken);
    }
    std::printf("{\"opening\": {\"records\": %u, \"first_ms\": %.2f, ", records, times.front());
    std::sort(times.begin(), times.end());
    std::printf("\"least_ms\": %.2f, \"median_ms\": %.2f}}\n", times.front(),
                times[times.size() / 2]);
}

// ---- A reader's memory.

// What the processes of a measurement share.
struct Course {
    std::atomic<int> ready = 0;
    std::atomic<bool> ended = false;
    std::atomic<bool> checkpoint_made = false;
    std::atomic<std::uint64_t> commits = 0;
};

void change_until_the_end(Course &course, const std::string &path) {
    const tarn::store store = tarn::store::open(path);
    tarn::session session(store);
    auto table = Table::open(session, table_name);
    bench::Chance chance(1);
    while (!course.ended) {
        tarn::transaction transaction(session);
        const std::string name = name_of(chance() % records);
        table.erase(name);
        auto record = table.make(name);
        record.set_num_conns(chance());
        table.insert(std::move(record));
        transaction.commit();
        ++course.commits;
    }
}

void print_memory(const char *when, const Memory &before, const tarn::store &store,
                  std::uint64_t commits) {
    const Memory now = memory();
    std::printf(
        "{\"memory of a reader\": \"%s\", \"private_dirty\": %llu, \"anonymous\": %llu, "
        "\"store\": %llu, \"commits\": %llu}\n",
        when, now.private_dirty - before.private_dirty, now.anonymous - before.anonymous,
        static_cast<unsigned long long>(store.describe().size),
        static_cast<unsigned long long>(commits));
}

void read_until_the_end(Course &course, const std::string &path) {
    const Memory before = memory();
    tarn::store store = tarn::store::open(path);
    const tarn::session session(store);
    print_memory("opened", before, store, 0);
    visit_all(session);
    print_memory("all records read", before, store, 0);
    ++course.ready;
    while (!course.ended) {
        const tarn::snapshot now(session);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    visit_all(session);
    print_memory("after changes", before, store, course.commits);
    while (!course.checkpoint_made) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    const auto start = Clock::now();
    store.refresh();
    std::printf("{\"memory of a reader\": \"the refresh after a checkpoint\", \"ms\": %.1f}\n",
                milliseconds_since(start));
    visit_all(session);
    print_memory("after a checkpoint", before, store, course.commits);
}

void make_checkpoint_and_commit(const std::string &path) {
    const tarn::store store = tarn::store::open(path);
    if (kel_store_checkpoint(store.c_store()) != 0) throw std::runtime_error(kel_error_text());
    tarn::session session(store);
    tarn::transaction transaction(session);
    Table::open(session, table_name).find(name_of(0))->set_num_conns(1);
    transaction.commit();
}

void measure_memory(const std::string &path) {
    const bench::Shared<Course> course;
    bench::Process reader([&] {
        read_until_the_end(*course, path);
        std::fflush(nullptr);
    });
    while (course->ready == 0) std::this_thread::yield();
    bench::Process writer([&] { change_until_the_end(*course, path); });
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    course->ended = true;
    writer.wait();
    bench::Process([&] { make_checkpoint_and_commit(path); }).wait();
    course->checkpoint_made = true;
    reader.wait();
}

// ---- After a writer was killed.

void stop_in_a_transaction(Course &course, const std::string &path, std::uint32_t changes) {
    const tarn::store store = tarn::store::open(path);
    tarn::session session(store);
    const tarn::transaction transaction(session);
    auto table = Table::open(session, table_name);
    for (std::uint32_t i = 0; i < changes; ++i) table.find(name_of(i))->set_num_conns(i);
    ++course.ready;
    for (;;) ::pause();
}

void measure_recovery(const std::string &path, std::uint32_t changes) {
    const bench::Shared<Course> course;
    bench::Process writer([&] { stop_in_a_transaction(*course, path, changes); });
    while (course->ready == 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    const tarn::store store = tarn::store::open(path);
    tarn::session session(store);
    writer.kill();
    const auto killed = Clock::now();
    { const tarn::transaction transaction(session); }
    std::printf(
        "{\"recovery\": {\"changes_of_the_open_transaction\": %u, "
        "\"until_the_next_begins_ms\": %.3f}}\n",
        changes, milliseconds_since(killed));
}

// The same for a process that has been waiting when the writer is killed.
void measure_takeover(const std::string &path) {
    std::vector<double> times;
    for (int i = 0; i < 20; ++i) {
        const bench::Shared<Course> course;
        bench::Process writer([&] { stop_in_a_transaction(*course, path, 1); });
        while (course->ready == 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        const tarn::store store = tarn::store::open(path);
        tarn::session session(store);
        Clock::time_point killed;
        std::thread killer([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(20 + i));
            writer.kill();
            killed = Clock::now();
        });
        const tarn::transaction transaction(session);
        const auto begun = Clock::now();
        killer.join();
        times.push_back(std::max(0.0, std::chrono::duration<double>(begun - killed).count()) * 1e3);
    }
    std::sort(times.begin(), times.end());
    std::printf("{\"take-over by a waiting process\": {\"median_ms\": %.1f, \"max_ms\": %.1f}}\n",
                times[times.size() / 2], times.back());
}

}  // namespace

int main(int count, char **arguments) try {
    if (count > 1) records = static_cast<std::uint32_t>(std::atoi(arguments[1]));
    if (count > 2) seconds = std::atof(arguments[2]);
    const bench::Folder folder;
    const std::string path = folder.store();
    bench::Process([&] { fill(path); }).wait();
    measure_opening(path);
    measure_memory(path);
    for (const std::uint32_t changes : {1U, 1000U, 100000U}) measure_recovery(path, changes);
    measure_takeover(path);
} catch (const std::exception &error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
