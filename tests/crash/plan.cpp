// SPDX-License-Identifier: Apache-2.0
#include "tests/crash/plan.h"

#include <algorithm>
#include <random>

namespace crash {

namespace {

// Records are chosen among these, so that inserts and erases meet.
constexpr std::uint32_t usual_numbers = 24;
// A large transaction inserts or erases a run of these.
constexpr std::uint32_t large_first = 1000;
constexpr std::uint32_t large_count = 60;

using Engine = std::mt19937_64;

std::uint32_t below(Engine &engine, std::uint32_t limit) {
    return static_cast<std::uint32_t>(engine() % limit);
}

// Texts of up to 15 bytes are in the record, longer ones have blocks of several
// sizes.
std::string random_text(Engine &engine) {
    constexpr std::uint32_t lengths[] = {0, 3, 14, 16, 40, 200, 900, 5000};
    const std::uint32_t kind = below(engine, 100) < 98 ? below(engine, 7) : 7;
    const std::uint32_t length = lengths[kind] + below(engine, 7);
    return std::string(length, static_cast<char>('a' + below(engine, 26)));
}

Row random_row(Subject subject, Engine &engine) {
    Row row;
    for (std::uint32_t &number : row.numbers) number = below(engine, 1'000'000);
    for (std::string &text : row.texts) text = random_text(engine);
    return kept(subject, std::move(row));
}

// Changes some fields; texts also grow.
Row changed(Row row, Engine &engine) {
    const std::uint32_t what = below(engine, 8);
    if ((what & 1) != 0) row.numbers[below(engine, 3)] += 1;
    if ((what & 2) != 0) row.texts[0] += random_text(engine);
    if ((what & 4) != 0) row.texts[1] = random_text(engine);
    if (row.texts[0].size() > 3000) row.texts[0].clear();
    return row;
}

Operation random_change(const Rows &rows, Subject subject, std::uint8_t handle, Engine &engine) {
    const std::uint32_t number = below(engine, usual_numbers);
    const auto at = rows.find(number);
    if (at == rows.end())
        return {Kind::insert, handle, subject, number, random_row(subject, engine)};
    if (below(engine, 3) == 0) return {Kind::erase, handle, subject, number, {}};
    return {Kind::update, handle, subject, number, kept(subject, changed(at->second, engine))};
}

void change(Rows &rows, const Operation &operation) {
    if (operation.kind == Kind::erase) {
        rows.erase(operation.number);
    } else {
        rows[operation.number] = operation.row;
    }
}

// The tables as a transaction sees them; only those that it uses are copied.
class Scratch {
 public:
    explicit Scratch(const State &state) : state_(state) {}
    Rows &operator[](Subject subject) {
        return copies_.try_emplace(subject, state_.rows[subject]).first->second;
    }

 private:
    const State &state_;
    std::map<Subject, Rows> copies_;
};

// One transaction, of one of two handles.
Round usual_round(const State &state, Engine &engine) {
    Scratch scratch(state);
    const auto handle = static_cast<std::uint8_t>(below(engine, 2));
    Round round{{Kind::begin, handle, {}, 0, {}}};
    const std::uint32_t changes = 1 + below(engine, 6);
    for (std::uint32_t i = 0; i < changes; ++i) {
        const auto subject = static_cast<Subject>(below(engine, subject_count));
        round.push_back(random_change(scratch[subject], subject, handle, engine));
        change(scratch[subject], round.back());
    }
    const Kind end = below(engine, 4) == 0 ? Kind::rollback : Kind::commit;
    round.push_back({end, handle, {}, 0, {}});
    return round;
}

// Two transactions that are open at the same time and use different tables. A rollback restores
// bytes that the other transaction may have changed as well, so the one that is rolled back
// changes nothing, or makes its changes after those of the other.
Round double_round(const State &state, Engine &engine) {
    Scratch scratch(state);
    const auto first = static_cast<std::uint8_t>(below(engine, 2));
    const auto second = static_cast<std::uint8_t>(1 - first);
    const bool both = below(engine, 3) != 0;
    Round changes;
    const std::uint32_t count = 2 + below(engine, 6);
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t any = i < 2 ? i : below(engine, subject_count);
        const auto subject = static_cast<Subject>(any);
        const auto handle = both ? static_cast<std::uint8_t>(subject % 2) : second;
        changes.push_back(random_change(scratch[subject], subject, handle, engine));
        change(scratch[subject], changes.back());
    }
    const bool is_rolled_back = both && below(engine, 3) == 0;
    if (is_rolled_back) {
        std::stable_partition(changes.begin(), changes.end(),
                              [&](const Operation &each) { return each.handle == first; });
    }
    Round round{{Kind::begin, 0, {}, 0, {}}, {Kind::begin, 1, {}, 0, {}}};
    round.insert(round.end(), changes.begin(), changes.end());
    round.push_back({both ? Kind::early_commit : Kind::rollback, first, {}, 0, {}});
    round.push_back({is_rolled_back ? Kind::late_rollback : Kind::commit, second, {}, 0, {}});
    return round;
}

// Inserts a run of records in one table, or erases it.
Round large_round(const State &state, Engine &engine) {
    const auto subject = static_cast<Subject>(below(engine, subject_count));
    const Rows &rows = state.rows[subject];
    const bool inserts = rows.lower_bound(large_first) == rows.end();
    Round round{{Kind::begin, 0, {}, 0, {}}};
    for (std::uint32_t i = 0; i < large_count; ++i) {
        const std::uint32_t number = large_first + i;
        if (inserts) {
            round.push_back({Kind::insert, 0, subject, number, random_row(subject, engine)});
        } else if (rows.contains(number)) {
            round.push_back({Kind::erase, 0, subject, number, {}});
        }
    }
    round.push_back({below(engine, 3) == 0 ? Kind::rollback : Kind::commit, 0, {}, 0, {}});
    return round;
}

// A change of the writer's outside of any transaction; of a record that isn't
// replicated.
Round lasting_round(const State &state, Engine &engine) {
    const auto subject = static_cast<Subject>(below(engine, groups));
    const Rows &rows = state.rows[subject];
    if (rows.empty()) return {};
    const auto &[number, row] = *rows.begin();
    const auto handle = static_cast<std::uint8_t>(below(engine, 2));
    return {{Kind::lasting_update, handle, subject, number, kept(subject, changed(row, engine))}};
}

}  // namespace

Round opening_round() {
    Round round{{Kind::attach, 0, {}, 0, {}}, {Kind::limit, 0, {}, 0, {}}};
    for (std::size_t i = 0; i < subject_count; ++i) {
        round.push_back({Kind::open, 0, static_cast<Subject>(i), 0, {}});
    }
    round.push_back({Kind::mark, 0, groups, 0, {}});
    return round;
}

Round random_round(const State &state, std::uint64_t seed) {
    Engine engine(seed);
    const std::uint32_t which = below(engine, 32);
    if (which == 0) return large_round(state, engine);
    if (which < 3) return {{Kind::checkpoint, 0, {}, 0, {}}};
    if (which < 6) return double_round(state, engine);
    if (which < 8) return lasting_round(state, engine);
    if (which == 8) {
        return {{state.has_extra ? Kind::drop_extra : Kind::make_extra, 0, {}, 0, {}}};
    }
    return usual_round(state, engine);
}

std::uint64_t mix(std::uint64_t seed, std::uint64_t position) {
    // splitmix64.
    std::uint64_t value = seed + (position + 1) * 0x9e3779b97f4a7c15;
    value = (value ^ (value >> 30)) * 0xbf58476d1ce4e5b9;
    value = (value ^ (value >> 27)) * 0x94d049bb133111eb;
    return value ^ (value >> 31);
}

}  // namespace crash
