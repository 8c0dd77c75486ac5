// SPDX-License-Identifier: Apache-2.0
// Operations by key in a table and in its peers: each gets the same keys in the same order.
// Prints a JSON object for each cell and repetition, in nanoseconds of processor time an operation.
//   keyed_bench text|u32 RECORDS REPETITIONS [fast|CONTENDER]
// The contenders take turns, each in a process of its own. `fast` leaves the slow ones out.
#include <benchmark/benchmark.h>

#include <chrono>
#include <functional>
#include <memory>
#include <utility>

#include "bench/cells.h"
#include "bench/contenders/maps.h"
#include "bench/contenders/tarnbase.h"
#ifdef TARNBASE_HAS_LMDB
#include "bench/contenders/lmdb.h"
#endif
#ifdef TARNBASE_HAS_PMEMOBJ
#include "bench/contenders/pmemobj.h"
#endif
#ifdef TARNBASE_HAS_SQLITE
#include "bench/contenders/sqlite.h"
#endif

namespace {

constexpr std::uint32_t most_searched = 200'000;
constexpr std::uint32_t most_committed = 100'000;
constexpr std::uint32_t least_steps = 100'000;  // of a cell in a small table, in several rounds

// The keys of a run. A record's number is the position of the next key to search, so that a search
// that uses it can't begin before the one before has ended.
template <typename Key>
struct Plan {
    std::vector<Key> inserted, searched, missing;
    std::vector<std::uint32_t> numbers;  // of the inserted
    std::uint32_t rounds;

    explicit Plan(std::uint32_t records) {
        const std::vector<std::uint32_t> all = bench::shuffled(2 * records, 1);
        const std::vector<std::uint32_t> order = bench::shuffled(records, 2);
        const std::uint32_t count = std::min(records, most_searched);
        numbers.resize(records);
        for (std::uint32_t i = 0; i < records; ++i) inserted.emplace_back(all[i]);
        for (std::uint32_t i = 0; i < count; ++i) {
            searched.push_back(inserted[order[i]]);
            missing.emplace_back(all[records + i]);
            numbers[order[i]] = (i + 1) % count;
        }
        rounds = std::max(1U, least_steps / records);
    }
};

// Empties the caches by reading more than they can hold.
void forget() {
    constexpr std::size_t bytes = std::size_t{96} << 20;
    static const std::vector<char> other(bytes, 1);
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < bytes; i += 64) sum += static_cast<unsigned char>(other[i]);
    benchmark::DoNotOptimize(sum);
}

template <typename Contender, typename Key>
class Run {
 public:
    explicit Run(const Plan<Key> &plan) : plan_(plan), contender_(new Contender) {}

    void all() {
        fill();
        contender_->settle();
        contender_->begin_read();
        for (std::size_t i = plan_.searched.size(); i-- > 0;)
            benchmark::DoNotOptimize(contender_->find(plan_.searched[i]));
        search();
        scan();
        if (plan_.inserted.size() >= most_searched / 2) search_cold();
        contender_->end_read();
        commit_each();
        contender_->settle();
        erase();
    }

 private:
    template <typename Function>
    void time(const char *what, std::size_t operations, const Function &function) {
        const double start = bench::cpu_nanoseconds();
        function();
        const double taken = bench::cpu_nanoseconds() - start;
        bench::print_cell({what, Key::name, plan_.inserted.size(), Contender::name}, "ns",
                          taken / static_cast<double>(operations));
    }

    void fill() {
        time("insert", plan_.inserted.size(), [&] {
            contender_->begin();
            for (std::size_t i = 0; i < plan_.inserted.size(); ++i)
                contender_->insert(plan_.inserted[i], plan_.numbers[i]);
            contender_->commit();
        });
    }

    void search() {
        const std::size_t count = plan_.searched.size() * plan_.rounds;
        time("find", count, [&] {
            for (std::uint32_t round = 0; round < plan_.rounds; ++round)
                for (const Key &key : plan_.searched)
                    bench::need(contender_->find(key) != nullptr, "find");
        });
        time("dependent find", count, [&] {
            std::uint32_t at = 0;
            for (std::size_t i = 0; i < count; ++i) at = contender_->read(plan_.searched[at]);
            bench::need(at == 0, "dependent find");
        });
        time("miss", count, [&] {
            for (std::uint32_t round = 0; round < plan_.rounds; ++round)
                for (const Key &key : plan_.missing)
                    bench::need(contender_->find(key) == nullptr, "miss");
        });
    }

    // By the clock, which costs less than the processor time; the median leaves interruptions out.
    void search_cold() {
        using Clock = std::chrono::steady_clock;
        std::vector<double> taken(64);
        for (std::size_t i = 0; i < taken.size(); ++i) {
            const Key key = plan_.searched[i * 101 % plan_.searched.size()];
            forget();
            benchmark::DoNotOptimize(Clock::now());
            const auto start = Clock::now();
            benchmark::DoNotOptimize(contender_->read(key));
            taken[i] = std::chrono::duration<double, std::nano>(Clock::now() - start).count();
        }
        std::nth_element(taken.begin(), taken.begin() + 32, taken.end());
        bench::print_cell({"cold find", Key::name, plan_.inserted.size(), Contender::name}, "ns",
                          taken[32]);
    }

    void scan() {
        const std::size_t count = plan_.inserted.size();
        const auto rounds = [&](const char *what, const auto &function) {
            time(what, count * plan_.rounds, [&] {
                for (std::uint32_t round = 0; round < plan_.rounds; ++round)
                    bench::need(function() == count, what);
            });
        };
        std::uint64_t sum = 0;
        rounds("scan", [&] { return contender_->scan(); });
        rounds("scan and read", [&] { return contender_->scan_and_read(sum); });
        rounds("walk", [&] { return contender_->walk(); });
        benchmark::DoNotOptimize(sum);
    }

    void erase() {
        time("erase", plan_.searched.size(), [&] {
            contender_->begin();
            for (const Key &key : plan_.searched) contender_->erase(key);
            contender_->commit();
        });
    }

    // A transaction for each, with keys that the table doesn't have yet.
    void commit_each() {
        if (!Contender::has_transactions) return;
        const std::size_t count = std::min<std::size_t>(plan_.missing.size(), most_committed);
        const auto each = [&](const char *what, const std::vector<Key> &keys, const auto &change,
                              void (Contender::*end)()) {
            time(what, count, [&] {
                for (std::uint32_t i = 0; i < count; ++i) {
                    contender_->begin();
                    change(keys[i], i);
                    ((*contender_).*end)();
                }
            });
        };
        const auto insert = [&](const Key &key, std::uint32_t i) { contender_->insert(key, i); };
        const auto update = [&](const Key &key, std::uint32_t i) {
            contender_->update(key, i + 1);
        };
        each("insert and rollback", plan_.missing, insert, &Contender::roll_back);
        each("insert and commit", plan_.missing, insert, &Contender::commit);
        each("update and commit", plan_.searched, update, &Contender::commit);
    }

    const Plan<Key> &plan_;
    std::unique_ptr<Contender> contender_;
};

struct Entrant {
    std::string name;
    bool is_fast;
    std::function<void()> run;
};

template <typename Contender, typename Key>
Entrant entrant(const Plan<Key> &plan) {
    return {Contender::name, Contender::is_fast, [&plan] { Run<Contender, Key>(plan).all(); }};
}

template <typename Key>
std::vector<Entrant> entrants(const Plan<Key> &plan) {
    return {
        entrant<bench::WithFiles<Key>>(plan),
#ifdef TARNBASE_HAS_LMDB
        entrant<bench::Lmdb<Key>>(plan),
#endif
        entrant<bench::Private<Key>>(plan),
#ifdef TARNBASE_HAS_ABSL
        entrant<bench::BtreeMap<Key>>(plan),
#endif
        entrant<bench::StdMap<Key>>(plan),
#ifdef TARNBASE_HAS_PMEMOBJ
        entrant<bench::Pmemobj<Key>>(plan),
#endif
#ifdef TARNBASE_HAS_SQLITE
        entrant<bench::Sqlite<Key>>(plan),
#endif
    };
}

template <typename Key>
void compare(std::uint32_t records, std::uint32_t repetitions, const std::string &which) {
    const Plan<Key> plan(records);
    const std::vector<Entrant> all = entrants(plan);
    for (std::uint32_t repetition = 0; repetition < repetitions; ++repetition) {
        for (std::size_t i = 0; i < all.size(); ++i) {
            const Entrant &next = all[(i + repetition) % all.size()];
            if (which.empty() || (which == "fast" ? next.is_fast : which == next.name))
                bench::run_apart(next.run);
        }
    }
}

}  // namespace

int main(int count, char **arguments) {
    const std::string key = count > 1 ? arguments[1] : "";
    if (count < 4 || (key != "text" && key != "u32")) {
        std::fputs("usage: keyed_bench text|u32 RECORDS REPETITIONS [fast|CONTENDER]\n", stderr);
        return 2;
    }
    const auto records = static_cast<std::uint32_t>(std::stoul(arguments[2]));
    const auto repetitions = static_cast<std::uint32_t>(std::stoul(arguments[3]));
    const std::string which = count > 4 ? arguments[4] : "";
    if (key == "text") compare<bench::TextKey>(records, repetitions, which);
    else compare<bench::NumberKey>(records, repetitions, which);
    return 0;
}
