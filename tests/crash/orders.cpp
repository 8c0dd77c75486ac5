// SPDX-License-Identifier: Apache-2.0
#include "tests/crash/orders.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <filesystem>

namespace crash {

namespace {

Orders *exploring = nullptr;

constexpr std::size_t max_steps = 1000;

std::uint64_t mixed(std::uint64_t hash, std::uint64_t value) {
    hash = (hash ^ value) * 0x9e3779b97f4a7c15;
    return hash ^ hash >> 29;
}

std::uint64_t mixed(std::uint64_t hash, const std::string &text) {
    return mixed(hash, std::hash<std::string>{}(text));
}

}  // namespace

Orders::Orders(MakeScenario make, std::size_t processes, unsigned deaths)
    : make_(std::move(make)), max_deaths_(deaths), processes_(processes) {
    for (Process &process : processes_) process.stack.resize(stack_bytes);
}

Orders *Orders::current() {
    return exploring != nullptr && exploring->running_ != none ? exploring : nullptr;
}

std::string Orders::explore() {
    exploring = this;
    pending_.push_back({});
    while (!pending_.empty() && failure_.empty()) {
        const std::vector<std::uint8_t> order = std::move(pending_.back());
        pending_.pop_back();
        repeat(order);
        ++repetitions_;
    }
    exploring = nullptr;
    return failure_;
}

// Follows an order to its end, and from there on the first choice to the end of all processes,
// or up to a state that was there before.
void Orders::repeat(const std::vector<std::uint8_t> &order) {
    deaths_ = 0;
    locks_.clear();
    labels_.clear();
    trace_.clear();
    scenario_ = make_();
    for (std::size_t i = 0; i < processes_.size(); ++i) start(i);
    explores_ = true;
    std::vector<std::uint8_t> done;
    bool is_new = true;
    for (std::vector<Choice> next = choices(); is_new && !next.empty(); next = choices()) {
        std::uint8_t chosen = 0;
        if (done.size() < order.size()) {
            chosen = order[done.size()];
        } else {
            is_new = visited_.insert(state()).second;
            for (std::uint8_t i = 1; is_new && i < next.size(); ++i) {
                pending_.push_back(done);
                pending_.back().push_back(i);
            }
        }
        if (!is_new || !failure_.empty()) break;
        done.push_back(chosen);
        apply(next[chosen]);
        if (done.size() > max_steps) fail("the processes don't come to an end");
    }
    explores_ = false;
    if (is_new && failure_.empty()) {
        for (const Process &process : processes_) {
            if (process.life == Life::ready) fail("a process waits for ever");
        }
        try {
            scenario_->check();
        } catch (const std::exception &error) {
            fail(error.what());
        }
    }
    scenario_.reset();
    free_left_over();
}

void Orders::start(std::size_t number) {
    Process &process = processes_[number];
    process.life = Life::ready;
    process.history = 0;
    process.steps = 0;
    process.what = "begins";
    process.name.clear();
    process.only_dies = false;
    process.half = nullptr;
    process.asleep_on = nullptr;
    running_ = number;
    scenario_->prepare(number);
    running_ = none;
    ::getcontext(&process.context);
    process.context.uc_stack.ss_sp = process.stack.data();
    process.context.uc_stack.ss_size = process.stack.size();
    process.context.uc_link = nullptr;
    ::makecontext(&process.context, enter, 0);
}

void Orders::enter() {
    Orders &orders = *exploring;
    const std::size_t number = orders.running_;
    try {
        orders.scenario_->run(number);
    } catch (const std::exception &error) {
        orders.fail("process " + std::to_string(number) + ": " + error.what());
    }
    orders.processes_[number].life = Life::ended;
    std::erase_if(orders.locks_, [&](const auto &lock) { return lock.second == number; });
    orders.leave();
}

bool Orders::is_awake(const Process &process) const {
    return process.asleep_on == nullptr || *process.asleep_on != process.seen ||
           process.deaths_seen != deaths_;
}

std::vector<Orders::Choice> Orders::choices() const {
    std::vector<Choice> found;
    for (std::size_t i = 0; i < processes_.size(); ++i) {
        const Process &process = processes_[i];
        if (process.life != Life::ready) continue;
        if (process.only_dies) found.clear();
        if (is_awake(process)) found.push_back({i, false});
        if (deaths_ < max_deaths_ && process.steps > 0) found.push_back({i, true});
        if (process.only_dies) break;
    }
    // A death doesn't wake a process that waits for nothing.
    const bool any_runs = std::ranges::any_of(found, [](const Choice &each) { return !each.dies; });
    if (!any_runs) found.clear();
    return found;
}

void Orders::apply(Choice choice) {
    Process &process = processes_[choice.process];
    trace_.push_back(std::to_string(choice.process) + (choice.dies ? ": dies before " : ": ") +
                     process.what + " " + process.name);
    if (choice.dies) {
        if (process.half) process.half();
        process.life = Life::dead;
        process.only_dies = false;
        process.history = mixed(process.history, 1);
        std::erase_if(locks_, [&](const auto &lock) { return lock.second == choice.process; });
        ++deaths_;
        return;
    }
    process.only_dies = false;
    process.half = nullptr;
    process.asleep_on = nullptr;
    ++process.steps;
    running_ = choice.process;
    ::swapcontext(&scheduler_, &process.context);
    running_ = none;
}

// To the scheduler, until it chooses this process again.
void Orders::leave() {
    const int error = errno;
    ::swapcontext(&processes_[running_].context, &scheduler_);
    errno = error;
}

void Orders::step(const char *what, const std::string &name) {
    if (!explores_) return;
    Process &process = processes_[running_];
    process.what = what;
    process.name = name;
    leave();
}

void Orders::copy_step(const std::function<void()> &half) {
    if (!explores_ || deaths_ >= max_deaths_) return;
    Process &process = processes_[running_];
    process.what = "the middle of a copy";
    process.name.clear();
    process.only_dies = true;
    process.half = half;
    leave();
}

void Orders::sleep(const std::uint32_t *word, std::uint32_t seen) {
    Process &process = processes_[running_];
    process.what = "its sleep ends";
    process.name.clear();
    process.asleep_on = word;
    process.seen = seen;
    process.deaths_seen = deaths_;
    leave();
}

void Orders::note(std::uint64_t result) {
    Process &process = processes_[running_];
    process.history = mixed(process.history, result + 2);
}

std::uint64_t Orders::label(std::uint64_t inode) const {
    const auto found = labels_.find(inode);
    return found == labels_.end() ? 0 : found->second;
}

void Orders::made_file(std::uint64_t inode) {
    const Process &process = processes_[running_];
    labels_[inode] = mixed(mixed(running_, process.history), process.steps);
}

bool Orders::try_lock(std::uint64_t byte) {
    return locks_.try_emplace(byte, running_).first->second == running_;
}

void Orders::unlock(std::uint64_t byte) {
    const auto found = locks_.find(byte);
    if (found != locks_.end() && found->second == running_) locks_.erase(found);
}

bool Orders::is_locked(std::uint64_t byte) const {
    const auto found = locks_.find(byte);
    return found != locks_.end() && found->second != running_;
}

std::uint64_t Orders::state() const {
    std::uint64_t hash = deaths_;
    for (const std::uint64_t word : scenario_->words()) hash = mixed(hash, word);
    std::map<std::string, std::uint64_t> files;
    for (const auto &entry : std::filesystem::directory_iterator(scenario_->folder())) {
        struct stat status {};
        if (::lstat(entry.path().c_str(), &status) != 0) continue;
        files[entry.path().filename().string()] = label(status.st_ino);
    }
    for (const auto &[name, made] : files) hash = mixed(mixed(hash, name), made);
    for (const Process &process : processes_) {
        hash = mixed(mixed(hash, process.history), static_cast<std::uint64_t>(process.life));
        hash = mixed(mixed(hash, process.steps), process.asleep_on != nullptr);
    }
    return hash;
}

void Orders::fail(const std::string &text) {
    if (!failure_.empty()) return;
    failure_ = text;
    for (const std::string &each : trace_) failure_ += "\n  " + each;
}

}  // namespace crash
