/* SPDX-License-Identifier: Apache-2.0 */
// Runs the lock and publish protocol (runtime/control/lock_protocol.h) in every order of the
// steps of a few processes, with deaths at every step.
//
// A process runs the real code. Each access to shared memory and each system call is an operation
// of `Replay`, which returns the result from the process's history, or, at the history's end,
// leaves the code with the operation that comes next. So the state of a process is its history of
// results, and all states can be visited without threads. Memory is sequentially consistent, as
// the protocol's accesses are.
//
// A program is divided into phases. What a phase leaves to the next one is in `Locals` alone, so
// that histories which lead to the same end of a phase become one. States that differ only in
// which of two processes with the same program is which are visited once.
#ifndef TARNBASE_TESTS_UNIT_RUNTIME_CONTROL_EXPLORER_H
#define TARNBASE_TESTS_UNIT_RUNTIME_CONTROL_EXPLORER_H

#include <array>
#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace tarn::test {

enum class Place : std::uint8_t { lock, published, waiters };

struct Operation {
    enum class Kind : std::uint8_t {
        take_number,
        is_alive,
        others_write,
        load,
        store,
        exchange,
        compare_exchange,
        sleep,
        wake_one,
        wake_all,
        append,
    };
    Kind kind;
    Place place{};
    std::uint64_t value = 0;
    std::uint64_t expected = 0;
};

class Replay {
 public:
    explicit Replay(const std::vector<std::uint64_t> &history) : history_(history) {}

    // Its result, if the history contains it. Otherwise throws it.
    std::uint64_t operator()(const Operation &operation) {
        if (next_ == history_.size()) throw operation;
        return history_[next_++];
    }

 private:
    const std::vector<std::uint64_t> &history_;
    std::size_t next_ = 0;
};

// A shared word as the protocol uses it.
class ReplayWord {
 public:
    ReplayWord(Replay &replay, Place place) : replay_(replay), place_(place) {}

    std::uint64_t load() { return replay_({Operation::Kind::load, place_}); }
    void store(std::uint64_t value) { replay_({Operation::Kind::store, place_, value}); }
    std::uint64_t exchange(std::uint64_t value) {
        return replay_({Operation::Kind::exchange, place_, value});
    }
    bool compare_exchange_strong(std::uint64_t &expected, std::uint64_t value) {
        const std::uint64_t before =
            replay_({Operation::Kind::compare_exchange, place_, value, expected});
        return std::exchange(expected, before) == before;
    }

 private:
    Replay &replay_;
    Place place_;
};

struct Locals {
    unsigned phase = 0;
    unsigned commits = 0;
    std::uint32_t number = 0;
    std::uint64_t word = 0;
    std::uint64_t position = 0;
    auto operator<=>(const Locals &) const = default;
};
inline constexpr unsigned last_phase = ~0u;

// Runs one phase, and changes the locals to the start of the next one.
using Program = void (*)(Replay &, Locals &);

// What a program does after each history of results.
class Histories {
 public:
    explicit Histories(Program program) : program_(program) { start({}); }

    // The operation that comes next. None: the program has ended.
    const std::optional<Operation> &operation(std::uint32_t node) const {
        return nodes_[node].operation;
    }
    // The history that is longer by a result.
    std::uint32_t after(std::uint32_t node, std::uint64_t result);
    // How many results there are in the phase.
    std::size_t length(std::uint32_t node) const { return nodes_[node].results.size(); }

 private:
    struct Node {
        Locals start;
        std::vector<std::uint64_t> results;
        std::optional<Operation> operation;
        std::map<std::uint64_t, std::uint32_t> after;
    };
    std::uint32_t start(const Locals &locals);
    std::uint32_t add(const Locals &start, std::vector<std::uint64_t> results);

    Program program_;
    std::vector<Node> nodes_;
    std::map<Locals, std::uint32_t> starts_;
};

struct Limits {
    unsigned deaths = 0;
    // Sleeps that end although others can still run. If nobody can, all of them may end, unless
    // `woken_only`: then it is a wake-up that was lost, unless a death is the reason.
    unsigned early_ends = 0;
    bool woken_only = false;
};

class Explorer {
 public:
    Explorer(const std::vector<Program> &programs, Limits limits);

    // What is wrong with some order of steps, and that order; empty: nothing in any.
    std::string run();
    std::size_t states() const { return visited_.size(); }

 private:
    static constexpr std::size_t most_processes = 4;
    static constexpr std::uint8_t no_number = 0xff;
    static constexpr std::size_t longest_history = 200;
    static constexpr std::size_t most_steps = 2000;

    enum class Life : std::uint8_t { running, sleeping, ended, dead };
    struct Process {
        std::uint32_t history = 0;
        Life life = Life::running;
        std::uint8_t number = no_number;
        bool has_lock = false;
        bool has_tail = false;       // wrote the frame after the published position
        bool is_publishing = false;  // stored the published position, and may wake sleepers still
        auto operator<=>(const Process &) const = default;
    };
    struct State {
        std::array<std::uint64_t, 3> words{};
        std::array<Process, most_processes> processes{};
        std::uint8_t deaths = 0;
        std::uint8_t early_ends = 0;
        bool is_half_published = false;  // the last to publish died before all were woken
        auto operator<=>(const State &) const = default;
    };
    struct Hash {
        std::size_t operator()(const State &state) const;
    };

    // A step as it is shown. Without an operation the process dies, or its sleep ends.
    struct Step {
        std::size_t process;
        const char *what;
        Operation operation;
    };

    void visit(State state);
    void sort(State &state) const;
    void run_step(const State &state, std::size_t process);
    void end_sleep(const State &state, std::size_t process, bool early);
    void kill(const State &state, std::size_t process);
    // Wakes one sleeper, each of them in turn.
    void wake_one(const State &state, Place place);
    void go_on(State &state, std::size_t process, std::uint64_t result);
    std::uint64_t perform(State &state, std::size_t process, const Operation &operation);
    std::uint64_t store(State &state, std::size_t process, const Operation &operation);

    const Operation &next(const State &state, std::size_t process) const;
    bool sleeps_on(const State &state, std::size_t process, Place place) const;
    bool is_locked_by_other(const State &state, std::uint64_t number, std::size_t process) const;
    bool is_writer(std::size_t process) const;
    bool others_write(const State &state, std::size_t process) const;
    bool would_notice(const State &state, std::size_t process) const;
    void check_stuck(const State &state);
    void take_or_release(State &state, std::size_t process, std::uint64_t word);
    void expect(bool condition, const char *what);

    std::vector<Histories> programs_;
    std::vector<std::size_t> program_of_;
    Limits limits_;
    std::unordered_set<State, Hash> visited_;
    std::vector<Step> path_;
    std::string failure_;
};

}  // namespace tarn::test

#endif
