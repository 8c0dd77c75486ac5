// SPDX-License-Identifier: Apache-2.0
// Commits of one changed record: on the disk when they return, by the clock, in a store and in its
// peers; and in a store with a journal and without, by processor time.
//   durable_bench [COMMITS [REPETITIONS]]
// The files are in $TMPDIR, which should be on a disk. Prints a JSON object for each cell.
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <vector>

#include "bench/cells.h"
#include "bench/contenders/tarnbase.h"
#include "tarnbase/journal.h"
#ifdef TARNBASE_HAS_LMDB
#include "bench/contenders/lmdb.h"
#endif
#ifdef TARNBASE_HAS_SQLITE
#include "bench/contenders/sqlite.h"
#endif

namespace {

using bench::TextKey;

constexpr std::uint32_t records = 1000;

template <std::uint32_t enabled, std::uint32_t durability>
struct Set : bench::WithFiles<TextKey> {
    Set() {
        kel_journal_settings settings{};
        settings.enabled = enabled;
        settings.durability = durability;
        bench::need(kel_store_set_journal(store(), &settings) == 0, kel_error_text());
    }
};
struct Durable : Set<0, KEL_DURABILITY_COMMIT> {
    static constexpr const char *name = "tarnbase, durable commits";
};
struct WithJournal : Set<1, KEL_DURABILITY_PROCESS> {
    static constexpr const char *name = "tarnbase, journal";
};
#ifdef TARNBASE_HAS_LMDB
struct DurableLmdb : bench::Lmdb<TextKey> {
    static constexpr const char *name = "LMDB, sync";
    DurableLmdb() : Lmdb(0) {}
};
#endif
#ifdef TARNBASE_HAS_SQLITE
struct DurableSqlite : bench::Sqlite<TextKey> {
    static constexpr const char *name = "SQLite, WAL, FULL";
    DurableSqlite() : Sqlite("PRAGMA synchronous = FULL") {}
};
#endif

template <typename Contender>
void fill(Contender &contender) {
    contender.begin();
    for (std::uint32_t i = 0; i < records; ++i) contender.insert(TextKey(i), i);
    contender.commit();
    contender.settle();
}

template <typename Contender>
void update(Contender &contender, std::uint32_t i) {
    contender.begin();
    contender.update(TextKey(i * 7919 % records), i);
    contender.commit();
}

// The median: the disk has other users.
template <typename Contender>
void measure_durable(std::uint32_t commits) {
    using Clock = std::chrono::steady_clock;
    bench::run_apart([&] {
        Contender contender;
        fill(contender);
        std::vector<double> taken;
        for (std::uint32_t i = 0; i < commits; ++i) {
            const auto start = Clock::now();
            update(contender, i);
            taken.push_back(std::chrono::duration<double, std::nano>(Clock::now() - start).count());
        }
        const auto middle = taken.begin() + commits / 2;
        std::nth_element(taken.begin(), middle, taken.end());
        bench::print_cell({"durable commit", TextKey::name, records, Contender::name}, "ns",
                          *middle);
    });
}

template <typename Contender>
void measure(std::uint32_t commits) {
    bench::run_apart([&] {
        Contender contender;
        fill(contender);
        const double start = bench::cpu_nanoseconds();
        for (std::uint32_t i = 0; i < commits; ++i) update(contender, i);
        bench::print_cell({"commit", TextKey::name, records, Contender::name}, "ns",
                          (bench::cpu_nanoseconds() - start) / commits);
    });
}

std::uint32_t number(int count, char **words, int at, std::uint32_t otherwise) {
    return at < count ? static_cast<std::uint32_t>(std::strtoul(words[at], nullptr, 10))
                      : otherwise;
}

}  // namespace

int main(int argc, char **argv) {
    const std::uint32_t commits = number(argc, argv, 1, 2000);
    const std::uint32_t repetitions = number(argc, argv, 2, 5);
    for (std::uint32_t i = 0; i < repetitions; ++i) {
        measure_durable<Durable>(commits);
#ifdef TARNBASE_HAS_SQLITE
        measure_durable<DurableSqlite>(commits);
#endif
#ifdef TARNBASE_HAS_LMDB
        measure_durable<DurableLmdb>(commits);
#endif
        measure<bench::WithFiles<TextKey>>(50 * commits);
        measure<WithJournal>(50 * commits);
    }
}
