// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/runtime_control/explorer.h"

#include <algorithm>

#include "runtime/control/lock_protocol.h"

namespace tarn::test {

namespace runtime = tarnbase::runtime;

namespace {

using Kind = Operation::Kind;

constexpr std::uint64_t low_half(std::uint64_t word) { return word & 0xffff'ffff; }

const char *name(Kind kind) {
    constexpr std::array names{
        "take_number",      "is_alive", "others_write", "load",     "store", "exchange",
        "compare_exchange", "sleep",    "wake_one",     "wake_all", "append"};
    return names[static_cast<std::size_t>(kind)];
}

}  // namespace

std::uint32_t Histories::start(const Locals &locals) {
    const auto found = starts_.find(locals);
    if (found != starts_.end()) return found->second;
    const std::uint32_t node = add(locals, {});
    starts_.emplace(locals, node);
    return node;
}

std::uint32_t Histories::add(const Locals &start, std::vector<std::uint64_t> results) {
    Locals locals = start;
    std::optional<Operation> next;
    if (locals.phase != last_phase) {
        try {
            Replay replay(results);
            program_(replay, locals);
            return this->start(locals);
        } catch (const Operation &operation) {
            next = operation;
        }
    }
    nodes_.push_back({start, std::move(results), next, {}});
    return static_cast<std::uint32_t>(nodes_.size() - 1);
}

std::uint32_t Histories::after(std::uint32_t node, std::uint64_t result) {
    const auto found = nodes_[node].after.find(result);
    if (found != nodes_[node].after.end()) return found->second;
    std::vector<std::uint64_t> results = nodes_[node].results;
    results.push_back(result);
    const std::uint32_t added = add(nodes_[node].start, std::move(results));
    nodes_[node].after.emplace(result, added);
    return added;
}

Explorer::Explorer(const std::vector<Program> &programs, Limits limits) : limits_(limits) {
    std::vector<Program> known;
    for (const Program program : programs) {
        const auto found = std::ranges::find(known, program);
        program_of_.push_back(static_cast<std::size_t>(found - known.begin()));
        if (found != known.end()) continue;
        known.push_back(program);
        programs_.emplace_back(program);
    }
}

std::size_t Explorer::Hash::operator()(const State &state) const {
    std::uint64_t hash = 14695981039346656037ULL;
    const auto mix = [&hash](std::uint64_t value) {
        hash = (hash ^ value) * 0x9e37'79b9'7f4a'7c15ULL;
        hash ^= hash >> 29;
    };
    for (const std::uint64_t word : state.words) mix(word);
    for (const Process &process : state.processes) {
        mix(std::uint64_t{process.history} << 24 | static_cast<std::uint64_t>(process.life) << 16 |
            std::uint64_t{process.number} << 8 | std::uint64_t{process.has_lock} << 1 |
            std::uint64_t{process.has_tail} << 2 | std::uint64_t{process.is_publishing});
    }
    mix(std::uint64_t{state.is_half_published} << 16 | std::uint64_t{state.deaths} << 8 |
        state.early_ends);
    return hash;
}

void Explorer::expect(bool condition, const char *what) {
    if (condition || !failure_.empty()) return;
    failure_ = what;
    for (const auto &[process, step, operation] : path_) {
        constexpr std::array places{"lock", "published", "waiters"};
        failure_ += "\n  " + std::to_string(process) + ": " + step + " " +
                    places[static_cast<std::size_t>(operation.place)] + " " +
                    std::to_string(operation.expected) + " " + std::to_string(operation.value);
    }
}

std::string Explorer::run() {
    State start;
    for (std::size_t i = program_of_.size(); i < most_processes; ++i) {
        start.processes[i].life = Life::ended;
    }
    visit(start);
    return failure_;
}

const Operation &Explorer::next(const State &state, std::size_t process) const {
    return *programs_[program_of_[process]].operation(state.processes[process].history);
}

bool Explorer::sleeps_on(const State &state, std::size_t process, Place place) const {
    return state.processes[process].life == Life::sleeping && next(state, process).place == place;
}

void Explorer::sort(State &state) const {
    for (std::size_t i = 1; i < program_of_.size(); ++i) {
        for (std::size_t j = i; j > 0 && program_of_[j] == program_of_[j - 1]; --j) {
            if (state.processes[j - 1] <= state.processes[j]) break;
            std::swap(state.processes[j - 1], state.processes[j]);
        }
    }
}

void Explorer::visit(State state) {
    sort(state);
    if (!failure_.empty() || !visited_.insert(state).second) return;
    expect(path_.size() < most_steps, "the processes don't come to an end");
    bool runs = false;
    for (std::size_t i = 0; i < program_of_.size(); ++i) {
        const Life life = state.processes[i].life;
        if (life == Life::running) {
            runs = true;
            run_step(state, i);
        }
        const bool lives = life == Life::running || life == Life::sleeping;
        if (lives && state.deaths < limits_.deaths) kill(state, i);
    }
    if (!runs && limits_.woken_only) check_stuck(state);
    for (std::size_t i = 0; i < program_of_.size(); ++i) {
        if (state.processes[i].life != Life::sleeping || limits_.woken_only) continue;
        const bool useful = !runs && would_notice(state, i);
        if (useful || state.early_ends < limits_.early_ends) end_sleep(state, i, !useful);
    }
}

// Whether a process that isn't woken does anything else than to sleep again.
bool Explorer::would_notice(const State &state, std::size_t process) const {
    const Operation &sleep = next(state, process);
    const std::uint64_t word = state.words[static_cast<std::size_t>(sleep.place)];
    return sleep.place == Place::lock || low_half(word) != low_half(sleep.value) ||
           !others_write(state, process);
}

// Who sleeps on a word that hasn't changed has missed nothing, but nobody may sleep on a lock. A
// death loses the wake-ups of the lock's holder, and those of the publication that it interrupts.
void Explorer::check_stuck(const State &state) {
    for (std::size_t i = 0; i < program_of_.size(); ++i) {
        if (state.processes[i].life != Life::sleeping) continue;
        const Operation &sleep = next(state, i);
        const std::uint64_t word = state.words[static_cast<std::size_t>(sleep.place)];
        const bool is_right =
            sleep.place == Place::lock
                ? state.deaths > 0
                : low_half(word) == low_half(sleep.value) || state.is_half_published;
        expect(is_right, "a wake-up is lost");
    }
}

void Explorer::end_sleep(const State &state, std::size_t process, bool early) {
    path_.push_back({process, "its sleep ends", {}});
    State after = state;
    if (early) ++after.early_ends;
    go_on(after, process, 0);
    visit(after);
    path_.pop_back();
}

void Explorer::kill(const State &state, std::size_t process) {
    path_.push_back({process, "dies", {}});
    State after = state;
    after.is_half_published |= after.processes[process].is_publishing;
    after.processes[process] = {};
    after.processes[process].life = Life::dead;
    ++after.deaths;
    visit(after);
    path_.pop_back();
}

void Explorer::go_on(State &state, std::size_t process, std::uint64_t result) {
    Process &self = state.processes[process];
    Histories &program = programs_[program_of_[process]];
    self.history = program.after(self.history, result);
    self.life = Life::running;
    expect(program.length(self.history) < longest_history, "a process doesn't come to an end");
    if (program.operation(self.history)) return;
    // It exits, and the kernel releases its number.
    self = {};
    self.life = Life::ended;
}

void Explorer::run_step(const State &state, std::size_t process) {
    const Operation operation = next(state, process);
    path_.push_back({process, name(operation.kind), operation});
    State after = state;
    if (operation.kind == Kind::sleep) {
        const std::uint64_t word = after.words[static_cast<std::size_t>(operation.place)];
        if (low_half(word) == low_half(operation.value)) {
            after.processes[process].life = Life::sleeping;
        } else {
            go_on(after, process, 0);
        }
        visit(after);
    } else {
        go_on(after, process, perform(after, process, operation));
        if (operation.kind == Kind::wake_one) {
            wake_one(after, operation.place);
        } else {
            visit(after);
        }
    }
    path_.pop_back();
}

void Explorer::wake_one(const State &state, Place place) {
    bool any = false;
    for (std::size_t i = 0; i < program_of_.size(); ++i) {
        if (!sleeps_on(state, i, place)) continue;
        any = true;
        State after = state;
        go_on(after, i, 0);
        visit(after);
    }
    if (!any) visit(state);
}

bool Explorer::is_locked_by_other(const State &state, std::uint64_t number,
                                  std::size_t process) const {
    for (std::size_t i = 0; i < program_of_.size(); ++i) {
        if (i != process && state.processes[i].number == number) return true;
    }
    return false;
}

bool Explorer::is_writer(std::size_t process) const {
    return programs_[program_of_[process]].operation(0)->kind == Kind::take_number;
}

bool Explorer::others_write(const State &state, std::size_t process) const {
    for (std::size_t i = 0; i < program_of_.size(); ++i) {
        const Life life = state.processes[i].life;
        const bool lives = life == Life::running || life == Life::sleeping;
        if (i != process && is_writer(i) && lives) return true;
    }
    return false;
}

// A process has the lock as soon as its number is in the word, and until it stores another word.
void Explorer::take_or_release(State &state, std::size_t process, std::uint64_t word) {
    using runtime::holder_number;
    using runtime::is_held;
    Process &self = state.processes[process];
    const bool takes = is_held(word) && holder_number(word) == self.number;
    for (std::size_t i = 0; i < program_of_.size() && takes; ++i) {
        expect(i == process || !state.processes[i].has_lock, "two processes have the lock");
    }
    const bool others = is_held(word) && !takes;
    expect(!(others && self.has_lock), "a process loses the lock");
    self.has_lock = takes;
}

std::uint64_t Explorer::store(State &state, std::size_t process, const Operation &operation) {
    std::uint64_t &word = state.words[static_cast<std::size_t>(operation.place)];
    if (operation.place == Place::lock) {
        take_or_release(state, process, operation.value);
        state.processes[process].is_publishing = false;
    }
    if (operation.place == Place::published) {
        expect(operation.value > word, "the published position goes back");
        expect(state.processes[process].has_tail, "the published frame is another one's");
        expect(state.processes[process].has_lock, "a process publishes without the lock");
        state.processes[process].is_publishing = true;
        state.is_half_published = false;
    }
    return std::exchange(word, operation.value);
}

std::uint64_t Explorer::perform(State &state, std::size_t process, const Operation &operation) {
    Process &self = state.processes[process];
    const std::uint64_t word = state.words[static_cast<std::size_t>(operation.place)];
    switch (operation.kind) {
        case Kind::take_number:
            for (self.number = 0; is_locked_by_other(state, self.number, process);) ++self.number;
            return self.number;
        case Kind::is_alive:
            return is_locked_by_other(state, operation.value, process);
        case Kind::others_write:
            return others_write(state, process);
        case Kind::load:
            return word;
        case Kind::store:
        case Kind::exchange:
            return store(state, process, operation);
        case Kind::compare_exchange:
            return word == operation.expected ? store(state, process, operation) : word;
        case Kind::wake_all:
            for (std::size_t i = 0; i < program_of_.size(); ++i) {
                if (sleeps_on(state, i, operation.place)) go_on(state, i, 0);
            }
            return 0;
        case Kind::append:
            for (Process &any : state.processes) any.has_tail = false;
            self.has_tail = true;
            return 0;
        case Kind::sleep:
        case Kind::wake_one:
            return 0;
    }
    return 0;
}

}  // namespace tarn::test
