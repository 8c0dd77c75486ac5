// SPDX-License-Identifier: Apache-2.0
// Commits of one changed record: on the disk when they return, by the clock, in a store and in its
// peers; and in a store with a journal and without, by processor time.
//   durable_bench [COMMITS [REPETITIONS]]
// The files are in $TMPDIR, which should be on a disk. Prints a JSON object for each cell.
#include <chrono>
#include <cstdlib>

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

double clock_nanoseconds() {
    return static_cast<double>(std::chrono::steady_clock::now().time_since_epoch().count());
}

template <typename Contender>
void measure(const char *what, double (*now)(), std::uint32_t commits) {
    bench::run_apart([&] {
        Contender contender;
        contender.begin();
        for (std::uint32_t i = 0; i < records; ++i) contender.insert(TextKey(i), i);
        contender.commit();
        contender.settle();
        const double start = now();
        for (std::uint32_t i = 0; i < commits; ++i) {
            contender.begin();
            contender.update(TextKey(i * 7919 % records), i);
            contender.commit();
        }
        bench::print_cell({what, TextKey::name, records, Contender::name}, "ns",
                          (now() - start) / commits);
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
        measure<Durable>("durable commit", clock_nanoseconds, commits);
#ifdef TARNBASE_HAS_SQLITE
        measure<DurableSqlite>("durable commit", clock_nanoseconds, commits);
#endif
#ifdef TARNBASE_HAS_LMDB
        measure<DurableLmdb>("durable commit", clock_nanoseconds, commits);
#endif
        measure<bench::WithFiles<TextKey>>("commit", bench::cpu_nanoseconds, 50 * commits);
        measure<WithJournal>("commit", bench::cpu_nanoseconds, 50 * commits);
    }
}
