// SPDX-License-Identifier: Apache-2.0
#include "tests/crash/chain.h"

#include <sys/mman.h>

#include <cmath>
#include <filesystem>
#include <optional>
#include <random>
#include <stdexcept>

#include "tests/crash/link.h"
#include "tests/crash/plan.h"
#include "tests/crash/player.h"

namespace crash {

namespace {

constexpr std::size_t chain_length = 20;
// Limits of the random kills.
constexpr double max_stores = 10'000;
constexpr double max_shared = 300;
constexpr double max_instructions = 2'000;
constexpr std::uint64_t max_event = 16;
// More rounds than a process survives.
constexpr std::uint64_t max_rounds = 60;
// The last process, which isn't killed, shows that the store is usable.
constexpr std::uint64_t last_rounds = 4;

Journal &shared_journal() {
    static void *const memory =
        ::mmap(nullptr, sizeof(Journal), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::runtime_error("mmap");
    return *static_cast<Journal *>(memory);
}

// Expects the state of a store after each link, and how many blocks it has: a
// private store in which the same changes are made, without kills.
class Expectation {
 public:
    Expectation() { player_.emplace(store_); }

    const State &before() const { return before_; }
    const State &after() const { return after_; }

    // Takes over what a link has found. Returns what is wrong.
    std::string settle(const Journal &journal) {
        for (const Round &round : finished_) player_->play(round);
        finished_.clear();
        const std::size_t next = player_->play(flight_, 0, flight_done_);
        bool is_after = !journal.is_before;
        if (!is_after && journal.is_after && !agrees(journal)) is_after = true;
        if (is_after) player_->play(flight_, next, 1);
        player_->abandon();
        flight_.clear();
        flight_done_ = 0;
        before_ = after_ = is_after ? after_ : before_;
        return agrees(journal) ? "" : disagreement(journal);
    }

    // Notes how far a link has come since it was settled.
    void follow(const Link &link, const Journal &journal) {
        std::uint64_t done = journal.done;
        const bool in_flight = journal.begun > journal.done;
        after_ = before_;
        for (std::uint64_t i = 0; i < link.rounds && (done > 0 || in_flight); ++i) {
            Round round = round_of(link, i, before_);
            const std::uint64_t count = events(round);
            after_ = before_;
            if (done < count) {
                advance(before_, round, done);
                advance(after_, round, done + (in_flight ? 1 : 0));
                flight_ = std::move(round);
                flight_done_ = done;
                return;
            }
            advance(before_, round, count);
            after_ = before_;
            finished_.push_back(std::move(round));
            done -= count;
        }
    }

 private:
    bool agrees(const Journal &journal) const {
        const kel_store_description expected = store_.describe();
        if (journal.tables != expected.tables) return false;
        // A descriptor stays when the process dies that needed it first.
        if (journal.types > expected.types) return true;
        return journal.types == expected.types && journal.blocks == expected.blocks;
    }

    std::string disagreement(const Journal &journal) const {
        const kel_store_description expected = store_.describe();
        return std::to_string(journal.blocks) + " blocks, " + std::to_string(journal.tables) +
               " tables and " + std::to_string(journal.types) + " types instead of " +
               std::to_string(expected.blocks) + ", " + std::to_string(expected.tables) + " and " +
               std::to_string(expected.types);
    }

    State before_;
    State after_;
    std::vector<Round> finished_;    // not yet played
    Round flight_;                   // the round in which the process died
    std::uint64_t flight_done_ = 0;  // its events that were finished
    tarn::store store_ =
        tarn::store::create_private({capacity, reinterpret_cast<void *>(0x2200'0000'0000)});
    std::optional<Player> player_;
};

// Nothing that a killed process was making is left. The last process has made a
// checkpoint, which replaces the ones before and most of the log.
std::string left_over(const std::string &folder, bool has_journal) {
    constexpr std::size_t position_digits = 16;
    constexpr std::string_view compressed = ".zst";
    const auto is_position = [](std::string_view name, std::string_view prefix) {
        return name.starts_with(prefix) && name.size() == prefix.size() + position_digits;
    };
    std::size_t checkpoints = 0;
    std::size_t segments = 0;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        if (is_position(name, "checkpoint-")) {
            checkpoints += 1;
        } else if (is_position(name, "log-")) {
            segments += 1;
        } else if (has_journal && name.ends_with(compressed) &&
                   is_position(std::string_view(name).substr(0, name.size() - compressed.size()),
                               "log-")) {
            if (std::filesystem::exists(entry.path().parent_path() / entry.path().stem()))
                return entry.path().stem().string() + " is left beside " + name;
        } else if (name != "store" && name != "control" && name != "processes" &&
                   (name != "journal" || !has_journal)) {
            return name + " is left";
        }
    }
    if (has_journal || (checkpoints == 1 && segments <= 2)) return "";
    return std::to_string(checkpoints) + " checkpoints and " + std::to_string(segments) +
           " segments are left";
}

// Of every second chain, the store has a journal.
bool has_journal(const Chain &chain) { return chain.seed % 2 == 1; }

// Of every second one of these, it is compressed.
std::uint32_t journal_of(const Chain &chain) {
    if (!has_journal(chain)) return KEL_JOURNAL_OFF;
    return chain.seed % 8 >= 4 ? KEL_JOURNAL_COMPRESSED : KEL_JOURNAL_ON;
}

}  // namespace

std::vector<Kill> random_kills(std::uint64_t seed) {
    std::mt19937_64 engine(mix(seed, 0));
    // As many early deaths, when the store is opened, as late ones.
    const auto up_to = [&](double most) {
        const double part = static_cast<double>(engine() % 10000) / 10000;
        const bool evenly = engine() % 2 == 0;
        return 1 +
               static_cast<std::uint64_t>(evenly ? most * part : std::exp(std::log(most) * part));
    };
    std::vector<Kill> kills;
    for (std::size_t i = 0; i < chain_length; ++i) {
        const std::uint64_t which = engine() % 64;
        if (which == 0) {
            kills.push_back({engine() % max_event, Stores::every, up_to(max_instructions)});
        } else if (which < 33) {
            kills.push_back({up_to(max_shared), Stores::shared, 0});
        } else {
            kills.push_back({up_to(max_stores), Stores::every, 0});
        }
    }
    return kills;
}

Result run(const Chain &chain, const std::string &folder) {
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    Journal &journal = shared_journal();
    Expectation expectation;
    Result result;
    // After the last kill come a process that works and, at the end of a real
    // chain, one that only checks.
    const std::size_t length = chain.kills.size() + (chain.kills.size() > 1 ? 2 : 1);
    for (std::size_t i = 0; i < length; ++i) {
        const bool is_killed = i < chain.kills.size();
        const bool only_checks = i > chain.kills.size();
        const Link link{folder + "/store",
                        mix(chain.seed, i),
                        is_killed ? chain.kills[i] : Kill{},
                        is_killed     ? max_rounds
                        : only_checks ? 0
                                      : last_rounds,
                        expectation.before(),
                        expectation.after(),
                        journal_of(chain),
                        chain.seed % 4 == 3};
        result.failure = run(link, journal);
        if (journal.is_checked) {
            const std::string wrong = expectation.settle(journal);
            if (result.failure.empty()) result.failure = wrong;
        }
        if (result.failure.empty() && !is_killed)
            result.failure = left_over(folder, has_journal(chain));
        if (!result.failure.empty()) {
            result.failed_link = i;
            break;
        }
        if (!journal.is_finished) result.kills += 1;
        if (i == 0) result.points = journal.is_finished ? journal.points : 0;
        if (journal.is_checked) expectation.follow(link, journal);
    }
    return result;
}

}  // namespace crash
