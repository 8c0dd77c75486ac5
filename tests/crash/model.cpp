// SPDX-License-Identifier: Apache-2.0
#include "tests/crash/model.h"

#include <algorithm>

namespace crash {

namespace {

std::string text_of(const Row &row) {
    std::string text;
    for (const std::uint32_t number : row.numbers) text += std::to_string(number) + " ";
    for (const std::string &each : row.texts) {
        text += "'" + each.substr(0, 20) + "' (" + std::to_string(each.size()) + ") ";
    }
    return text;
}

std::string difference(std::size_t subject, const Rows &found, const Rows &expected) {
    const std::string where = "table " + std::to_string(subject) + ", record ";
    for (const auto &[number, row] : expected) {
        const auto at = found.find(number);
        if (at == found.end()) return where + std::to_string(number) + " is missing";
        if (at->second != row) {
            return where + std::to_string(number) + " is " + text_of(at->second) + "instead of " +
                   text_of(row);
        }
    }
    for (const auto &[number, row] : found) {
        if (!expected.contains(number))
            return where + std::to_string(number) + " shouldn't be there";
    }
    return "";
}

void change(State &state, const Operation &operation) {
    Rows &rows = state.rows[operation.subject];
    switch (operation.kind) {
        case Kind::attach:
            state.has_ring = true;
            break;
        case Kind::open:
            state.is_open[operation.subject] = true;
            break;
        case Kind::mark:
            state.is_marked = true;
            break;
        case Kind::make_extra:
            state.has_extra = true;
            break;
        case Kind::drop_extra:
            state.has_extra = false;
            break;
        case Kind::insert:
            if (operation.subject == groups) state.replicated += 1;
            rows[operation.number] = operation.row;
            break;
        case Kind::update:
        case Kind::lasting_update:
            rows[operation.number] = operation.row;
            break;
        case Kind::erase:
            rows.erase(operation.number);
            break;
        default:
            break;
    }
}

}  // namespace

Row kept(Subject subject, Row row) {
    if (subject == connections) row.numbers[1] = row.numbers[2] = 0;
    if (subject == connections || subject == statistics) row.texts[0].clear();
    if (subject != sessions && subject != groups) row.texts[1].clear();
    if (subject == groups) row.numbers = {row.numbers[0] % 256, 0, 0};
    return row;
}

std::string difference(const State &found, const State &expected) {
    for (std::size_t i = 0; i < subject_count; ++i) {
        if (found.is_open[i] != expected.is_open[i]) {
            return "table " + std::to_string(i) + (found.is_open[i] ? " exists" : " is missing");
        }
        if (std::string text = difference(i, found.rows[i], expected.rows[i]); !text.empty()) {
            return text;
        }
    }
    if (found.is_marked != expected.is_marked) return "the mark for replication differs";
    if (found.has_extra != expected.has_extra) return "the extra table differs";
    if (found.has_ring != expected.has_ring) return "the replication's ring differs";
    if (found.replicated != expected.replicated) {
        return std::to_string(found.replicated) + " replicated records instead of " +
               std::to_string(expected.replicated);
    }
    return "";
}

bool is_event(Kind kind) {
    switch (kind) {
        case Kind::attach:
        case Kind::limit:
        case Kind::open:
        case Kind::mark:
        case Kind::commit:
        case Kind::late_rollback:
        case Kind::make_extra:
        case Kind::drop_extra:
        case Kind::lasting_update:
        case Kind::checkpoint:
            return true;
        default:
            return false;
    }
}

std::uint64_t events(const Round &round) {
    return static_cast<std::uint64_t>(std::ranges::count_if(
        round, [](const Operation &operation) { return is_event(operation.kind); }));
}

void advance(State &state, const Round &round, std::uint64_t count) {
    std::array<std::vector<const Operation *>, 2> pending;
    std::vector<const Operation *> committed;
    for (const Operation &operation : round) {
        if (count == 0) return;
        auto &mine = pending[operation.handle];
        switch (operation.kind) {
            case Kind::insert:
            case Kind::update:
            case Kind::erase:
                mine.push_back(&operation);
                break;
            case Kind::commit:
            case Kind::early_commit:
                committed.insert(committed.end(), mine.begin(), mine.end());
                [[fallthrough]];
            case Kind::begin:
            case Kind::rollback:
            case Kind::late_rollback:
                mine.clear();
                break;
            default:
                change(state, operation);
        }
        if (!is_event(operation.kind)) continue;
        for (const Operation *each : committed) change(state, *each);
        committed.clear();
        --count;
    }
}

}  // namespace crash
