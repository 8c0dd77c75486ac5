// SPDX-License-Identifier: Apache-2.0
// What records take in memory and on disk, the longest of many transactions, and the first record
// of a second tenant. Prints a JSON object for each cell.
//   size_bench RECORDS
#include <chrono>
#include <fstream>
#include <string>

#include "bench/cells.h"
#include "bench/contenders/tarnbase.h"
#include "bench/processes.h"
#ifdef TARNBASE_HAS_LMDB
#include "bench/contenders/lmdb.h"
#endif

namespace {

using bench::print_cell;

std::uint32_t records = 1'000'000;
std::vector<std::uint32_t> order;

template <typename Contender, typename Key>
void fill(Contender &contender, std::uint32_t per_transaction) {
    for (std::uint32_t i = 0; i < records;) {
        contender.begin();
        for (const std::uint32_t end = std::min(i + per_transaction, records); i < end; ++i)
            contender.insert(Key(order[i]), i);
        contender.commit();
    }
}

// Bytes that a record takes, with its key and its share of the index.
template <typename Key>
void measure_record() {
    const auto print = [](const char *name, double bytes) {
        print_cell({"record", Key::name, records, name}, "bytes", bytes / records);
    };
    bench::run_apart([&] {
        bench::Private<Key> table;
        fill<bench::Private<Key>, Key>(table, 1000);
        print("tarnbase", static_cast<double>(table.description().block_bytes));
    });
#ifdef TARNBASE_HAS_LMDB
    bench::run_apart([&] {
        bench::Lmdb<Key> table;
        fill<bench::Lmdb<Key>, Key>(table, 1000);
        print("LMDB", static_cast<double>(table.bytes()));
    });
#endif
}

// Anonymous memory of this process.
double own_bytes() {
    std::ifstream lines("/proc/self/smaps_rollup");
    std::string name, unit;
    std::getline(lines, name);
    for (double kilobytes = 0; lines >> name >> kilobytes >> unit;)
        if (name == "Anonymous:") return kilobytes * 1024;
    return 0;
}

// All records in one transaction: its memory at the end, and the store's disk after it.
void measure_transaction() {
    using Key = bench::TextKey;
    bench::run_apart([] {
        bench::WithFiles<Key> table;
        const double before = own_bytes();
        table.begin();
        for (std::uint32_t i = 0; i < records; ++i) table.insert(Key(order[i]), i);
        print_cell({"transaction", Key::name, records, bench::WithFiles<Key>::name}, "bytes",
                   (own_bytes() - before) / records);
        table.commit();
        table.settle();
        kel_store_files files;
        bench::need(kel_store_describe_files(table.store(), &files) == 0, "describe_files");
        print_cell({"disk", Key::name, records, bench::WithFiles<Key>::name}, "times",
                   static_cast<double>(files.bytes) /
                       static_cast<double>(table.description().block_bytes));
    });
}

template <typename Contender>
void measure_commits() {
    using Key = bench::TextKey;
    bench::run_apart([] {
        Contender table;
        bench::Histogram times;
        for (std::uint32_t i = 0; i < records; ++i) {
            const auto start = bench::Clock::now();
            table.begin();
            table.insert(Key(order[i]), i);
            table.commit();
            times.add(bench::nanoseconds_since(start));
        }
        const auto print = [](const char *what, std::uint64_t nanoseconds) {
            print_cell({what, Key::name, records, Contender::name}, "ms",
                       static_cast<double>(nanoseconds) / 1e6);
        };
        print("longest commit", times.most());
        print("99.99 % of commits", times.quantile(0.9999));
    });
}

void measure_second_tenant() {
    using Key = bench::TextKey;
    bench::run_apart([] {
        records /= 2;
        bench::Private<Key> table;
        fill<bench::Private<Key>, Key>(table, 1000);
        kel_thread_set_tenant(1);
        table.begin();
        table.insert(Key(0), 0);
        table.commit();
        constexpr std::uint32_t rounds = 100;
        const double start = bench::cpu_nanoseconds();
        for (std::uint32_t i = 0; i < rounds; ++i) bench::need(table.has_first(), "first record");
        print_cell({"second tenant", Key::name, records, "tarnbase"}, "us",
                   (bench::cpu_nanoseconds() - start) / 1e3 / rounds);
    });
}

}  // namespace

int main(int count, char **arguments) {
    if (count > 1) records = static_cast<std::uint32_t>(std::stoul(arguments[1]));
    order = bench::shuffled(records, 1);
    measure_record<bench::TextKey>();
    measure_record<bench::NumberKey>();
    measure_transaction();
    measure_commits<bench::WithFiles<bench::TextKey>>();
#ifdef TARNBASE_HAS_LMDB
    measure_commits<bench::Lmdb<bench::TextKey>>();
#endif
    measure_second_tenant();
    return 0;
}
