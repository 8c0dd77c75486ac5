// SPDX-License-Identifier: Apache-2.0
#include "runtime/control/writer_lock.h"

#include <sched.h>

#include <algorithm>
#include <cerrno>

#include "runtime/base/clock.h"
#include "runtime/control/futex.h"
#include "runtime/control/lock_protocol.h"

namespace tarnbase::runtime {

namespace {

using namespace std::chrono_literals;

// How long a waiting process sleeps before it looks whether the holder is alive.
constexpr std::chrono::nanoseconds look_interval = 50ms;

// How often, and for how long at most, a process lets the one that it woke take the lock.
constexpr std::chrono::nanoseconds between_turns = 1ms;
constexpr std::chrono::nanoseconds longest_turn = 200us;

// The first byte after those of the numbers.
constexpr std::uint32_t checkpoints_byte = most_processes;
constexpr std::uint32_t flushes_byte = checkpoints_byte + WriterLock::checkpoint_locks;

// What take_lock and its like do (lock_protocol.h).
class LockSteps {
 public:
    LockSteps(LockPage &page, const Processes &processes, std::int64_t milliseconds)
        : word(page.word), processes_(processes), deadline_(milliseconds) {}

    bool is_alive(std::uint32_t number) const {
        std::uint32_t pid;
        return processes_.is_locked(number, pid);
    }
    bool time_is_over() { return deadline_.is_over(); }
    void sleep(std::uint64_t seen) {
        futex_sleep(word, seen, std::min(look_interval, deadline_.left()));
    }
    void wake() { woke_other = futex_wake(word, 1) > 0; }

    std::atomic<std::uint64_t> &word;
    bool woke_other = false;

 private:
    const Processes &processes_;
    Deadline deadline_;
};

}  // namespace

WriterLock::~WriterLock() { release(); }

std::uint32_t WriterLock::attach(int folder, LockPage &page) {
    if (const std::uint32_t error = processes_.open(folder)) return error;
    if (const std::uint32_t error = processes_.take_number(most_processes, number_)) return error;
    LockSteps steps(page, processes_, 0);
    release_inherited_number(steps, number_);
    self_ = describe_this_process();
    page_ = &page;
    return 0;
}

// A process that takes the lock again at once is faster than the one that it woke, which would
// never get it.
void WriterLock::give_way() {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point now = Clock::now();
    if (now - gave_way_ < between_turns) return;
    gave_way_ = now;
    const std::uint64_t word = page_->word.load();
    while (page_->word.load() == word && Clock::now() - now < longest_turn) ::sched_yield();
}

std::uint32_t WriterLock::acquire(std::int64_t milliseconds) {
    if (is_inherited()) return EPERM;
    if (woke_other_) give_way();
    LockSteps steps(*page_, processes_, milliseconds);
    const std::uint64_t word = take_lock(steps, number_);
    if (word == 0) return ETIMEDOUT;
    word_.store(word, std::memory_order_relaxed);
    store_holder(*page_, self_, static_cast<std::uint32_t>(acquisitions(word)), coarse_time());
    return 0;
}

void WriterLock::release() {
    if (!is_held()) return;
    LockSteps steps(*page_, processes_, 0);
    release_lock(steps, word_.load(std::memory_order_relaxed));
    woke_other_ = steps.woke_other;
    word_.store(0, std::memory_order_relaxed);
}

bool WriterLock::holder(Holder &holder) const {
    if (page_ == nullptr || is_inherited()) return false;
    const std::uint64_t word = page_->word.load();
    if (!runtime::is_held(word)) return false;
    std::uint32_t pid = 0;
    const bool own = is_held() && holder_number(word) == number_;
    if (!own && !processes_.is_locked(holder_number(word), pid)) return false;
    if (!load_holder(*page_, word, holder)) {
        holder = {};
        holder.pid = pid;
    }
    return true;
}

bool WriterLock::shown_holder(const LockPage &page, Holder &holder) {
    const std::uint64_t word = page.word.load();
    return runtime::is_held(word) && load_holder(page, word, holder) && may_be_alive(holder);
}

bool WriterLock::is_alone() const {
    std::uint32_t pid = 0;
    for (std::uint32_t number = 0; number < most_processes; ++number) {
        if (number != number_ && processes_.is_locked(number, pid)) return false;
    }
    return true;
}

bool WriterLock::try_lock_checkpoints(std::uint32_t number) {
    if (is_inherited() || !processes_.try_lock(checkpoints_byte + number)) return false;
    checkpoint_lock_ = number;
    return true;
}

void WriterLock::unlock_checkpoints() {
    if (!is_inherited()) processes_.unlock(checkpoints_byte + checkpoint_lock_);
}

bool WriterLock::lock_flushes() const {
    return page_ != nullptr && !is_inherited() && processes_.lock(flushes_byte);
}

void WriterLock::unlock_flushes() const {
    if (!is_inherited()) processes_.unlock(flushes_byte);
}

}  // namespace tarnbase::runtime
