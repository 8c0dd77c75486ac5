// SPDX-License-Identifier: Apache-2.0
// Readers beside a writer that commits as fast as it can. Whatever a reader finds after a refresh
// must be the content after one commit.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <new>
#include <random>
#include <vector>

#include "tests/shared/connections.h"

namespace shared_test {
namespace {

constexpr std::uint32_t accounts = 1000;
constexpr std::uint32_t balance = 1000;  // on average
constexpr std::uint32_t recent = 10;
constexpr std::uint32_t dirty = 0xffff'ffff;
constexpr std::size_t reader_count = 4;

using FullSpeed = SharedStore;

struct Counts {
    std::atomic<bool> is_over;
    std::atomic<std::uint64_t> commits, rollbacks, walks, reads;
};

Counts &share_counts() {
    void *memory =
        ::mmap(nullptr, sizeof(Counts), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    need(memory != MAP_FAILED, "mmap");
    return *new (memory) Counts{};
}

// Of commit n: the accounts' sum never changes, "version" is n, and of the records "commit-"
// there are the last ones.
Content first_content() {
    Content content;
    for (std::uint32_t i = 0; i < accounts; ++i) content["account" + std::to_string(i)] = balance;
    for (std::uint32_t i = 0; i < recent; ++i) content["commit-" + std::to_string(i)] = i;
    content["version"] = recent - 1;
    return content;
}

void write(const std::string &path, Counts &counts) {
    Connections connections(path);
    std::mt19937 random(7);
    const auto some_account = [&] { return "account" + std::to_string(random() % accounts); };
    for (std::uint32_t version = recent; !counts.is_over;) {
        tarn::transaction transaction(connections.session);
        const std::string from = some_account(), to = some_account();
        const std::uint32_t amount =
            std::min(connections.number(from), static_cast<std::uint32_t>(random() % 50));
        connections.set(from, connections.number(from) - amount);
        if (random() % 8 == 0) {
            connections.set("version", dirty);
            connections.set("commit-" + std::to_string(version), dirty);
            connections.table().erase("commit-" + std::to_string(version - 1));
            transaction.rollback();
            counts.rollbacks += 1;
            continue;
        }
        connections.set(to, connections.number(to) + amount);
        connections.set("version", version);
        connections.set("commit-" + std::to_string(version), version);
        connections.table().erase("commit-" + std::to_string(version - recent));
        transaction.commit();
        counts.commits += 1;
        version += 1;
    }
}

void read(const std::string &path, Counts &counts) {
    Connections connections(path);
    const auto table = connections.table();
    std::uint32_t last = 0;
    while (!counts.is_over) {
        connections.store.refresh();
        std::uint32_t version = 0, found = 0, commits = 0, lowest = dirty, highest = 0;
        std::uint64_t sum = 0;
        for (const auto record : table) {
            const std::uint32_t number = record.num_conns();
            const std::string_view name = record.sname();
            if (name[0] == 'a') {
                sum += number;
                found += 1;
            } else if (name[0] == 'v') {
                version = number;
            } else {
                need(name.substr(7) == std::to_string(number), "a record is torn");
                lowest = std::min(lowest, number);
                highest = std::max(highest, number);
                commits += 1;
            }
        }
        need(found == accounts && sum == std::uint64_t{accounts} * balance, "the sum is wrong");
        need(commits == recent && lowest + recent - 1 == highest && highest == version,
             "a commit is seen by half");
        need(version >= last, "the store goes back");
        last = version;
        counts.walks += 1;
        counts.reads += found + commits + 1;
    }
}

TEST_F(FullSpeed, ReadersAtFullSpeedFindNothingButCommits) {
    const char *set_seconds = std::getenv("TARNBASE_SHARED_SECONDS");
    const double seconds = set_seconds != nullptr ? std::atof(set_seconds) : 1;
    Connections::create(path, first_content());
    Counts &counts = share_counts();
    Child writer([&](Child &) { write(path, counts); });
    std::vector<std::unique_ptr<Child>> readers;
    for (std::size_t i = 0; i < reader_count; ++i) {
        readers.push_back(std::make_unique<Child>([&](Child &) { read(path, counts); }));
    }
    ::usleep(static_cast<useconds_t>(seconds * 1e6));
    counts.is_over = true;
    EXPECT_EQ(writer.join(), 0);
    for (const auto &reader : readers) EXPECT_EQ(reader->join(), 0);
    EXPECT_GT(counts.walks, reader_count);
    std::cout << counts.commits << " commits, " << counts.rollbacks << " rollbacks, "
              << counts.walks << " walks, " << counts.reads << " reads of records\n";
    ::munmap(&counts, sizeof counts);
}

}  // namespace
}  // namespace shared_test
