/* SPDX-License-Identifier: Apache-2.0 */
// What a store should contain: the state after each commit, in standard
// containers.
#ifndef TESTS_CRASH_MODEL_H
#define TESTS_CRASH_MODEL_H

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace crash {

// The tables of the workload (subjects.cpp); `groups` is marked for
// replication.
enum Subject : std::uint8_t { connections, statistics, sessions, servers, groups };
constexpr std::size_t subject_count = 5;

// The fields that every record has, in one way or another. Records are
// numbered; a key is made from the number.
struct Row {
    std::array<std::uint32_t, 3> numbers{};
    std::array<std::string, 2> texts;

    bool operator==(const Row &) const = default;
};
using Rows = std::map<std::uint32_t, Row>;

struct State {
    std::array<bool, subject_count> is_open{};  // the table exists
    std::array<Rows, subject_count> rows;
    bool is_marked = false;        // `groups`, for replication
    bool has_extra = false;        // a table that is made and dropped
    bool has_ring = false;         // the replication's
    std::uint64_t replicated = 0;  // frames written to the ring

    bool operator==(const State &) const = default;
};

// What a table can keep of a row: the rest is empty.
Row kept(Subject subject, Row row);

// The first difference; empty if there is none.
std::string difference(const State &found, const State &expected);

enum class Kind : std::uint8_t {
    attach,  // the replication engine, which makes the ring
    limit,   // the frames of the ring
    open,    // a table, which is created
    mark,    // a table, for replication
    begin,   // a transaction, of one of two handles
    insert,
    update,
    erase,
    commit,
    rollback,
    early_commit,   // while another transaction is open that has changed something,
                    // and which publishes both
    late_rollback,  // of that other one: the early commit is published
    make_extra,     // the extra table, or drop it
    drop_extra,
    lasting_update,  // by the writer, outside of any transaction
    checkpoint,
};

struct Operation {
    Kind kind;
    std::uint8_t handle = 0;
    Subject subject{};
    std::uint32_t number = 0;  // of the record
    Row row{};                 // its new content
};
using Round = std::vector<Operation>;

// Whether it publishes something.
bool is_event(Kind kind);
std::uint64_t events(const Round &round);
// Applies the first `count` events of a round.
void advance(State &state, const Round &round, std::uint64_t count);

}  // namespace crash

#endif
