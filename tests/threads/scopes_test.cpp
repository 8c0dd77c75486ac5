// SPDX-License-Identifier: Apache-2.0
// Threads that read one store in snapshots, beside a thread and a process that change it.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "tarnbase/tarn/snapshot.hpp"
#include "tarnbase/tarn/tables/ldap_conn.hpp"
#include "tarnbase/tarn/transaction.hpp"
#include "tests/support/temporary_directory.h"

namespace tarn::test {
namespace {

using Table = tarn::table<tarn::ldap_conn>;

constexpr int commits = 150;
constexpr int records = 20;
constexpr const char *names[] = {"of the thread", "of the other process"};

// An address that ThreadSanitizer allows, and that stays free: the next mappings are put at the end
// of the gap in which it is.
void *free_address() {
    constexpr std::size_t gap = 4ULL << 30;
    void *start = mmap(nullptr, gap, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (start == MAP_FAILED) return nullptr;
    munmap(start, gap);
    return static_cast<char *>(start) + gap / 2;
}

// All records have the same number, and there are always as many.
void create(const std::string &path) {
    const tarn::store store = tarn::store::create(path, {64ULL << 20, free_address()});
    tarn::session session(store);
    for (const char *name : names) {
        tarn::transaction transaction(session);
        auto table = Table::open_or_create(session, name);
        for (int i = 0; i < records; ++i) table.insert(table.make(std::to_string(i)));
        transaction.commit();
    }
}

Table open(const tarn::session &session, const char *name) {
    const tarn::snapshot now(session);
    return Table::open(session, name);
}

void change_often(const tarn::store &store, const char *name) {
    tarn::session session(store);
    auto table = open(session, name);
    for (std::uint32_t number = 1; number <= commits; ++number) {
        tarn::transaction transaction(session);
        table.erase("0");
        table.insert(table.make("0"));
        for (auto record : table) record.set_num_conns(number);
        transaction.commit();
    }
}

// Returns the number in all records of a table; more than `commits` if they aren't equal.
std::uint32_t number_in(const Table &table) {
    int count = 0;
    const std::uint32_t number = table.find("1")->num_conns();
    for (const auto record : table) {
        if (record.num_conns() != number) return commits + 1;
        ++count;
    }
    return count == records ? number : commits + 2;
}

void read_until_both_end(const tarn::store &store) {
    const tarn::session session(store);
    const auto thread_table = open(session, names[0]);
    const auto process_table = open(session, names[1]);
    std::uint32_t one = 0, other = 0;
    while (one < commits || other < commits) {
        const tarn::snapshot now(session);
        const std::uint32_t before = one;
        one = number_in(thread_table);
        other = number_in(process_table);
        ASSERT_LE(one, std::uint32_t{commits});
        ASSERT_LE(other, std::uint32_t{commits});
        ASSERT_GE(one, before);
        const tarn::snapshot nested(store);
        ASSERT_EQ(number_in(thread_table), one);
    }
}

TEST(Snapshots, OfManyThreadsSeeWholeCommitsOfAThreadAndOfAProcess) {
    const tarn::test::TemporaryDirectory directory;
    const std::string path = directory / "store";
    create(path);
    const pid_t process = fork();
    if (process == 0) {
        const tarn::store store = tarn::store::open(path);
        change_often(store, names[1]);
        _exit(0);
    }
    {
        const tarn::store store = tarn::store::open(path);
        std::vector<std::thread> threads;
        for (int i = 0; i < 3; ++i) threads.emplace_back([&] { read_until_both_end(store); });
        change_often(store, names[0]);
        for (std::thread &thread : threads) thread.join();
    }
    int status = -1;
    waitpid(process, &status, 0);
    EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace tarn::test
