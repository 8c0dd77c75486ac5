// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/checkpointer.h"

#include <cerrno>
#include <cstring>
#include <exception>
#include <new>

#include "runtime/base/error_text.h"
#include "runtime/base/signals_blocked.h"
#include "runtime/control/futex.h"
#include "runtime/control/journal_settings.h"
#include "runtime/store/flusher.h"
#include "runtime/store/retention.h"

namespace tarnbase::runtime {

namespace {

constexpr int rest_factor = 9;

// After another process was found making a checkpoint, none is tried again for this time.
constexpr std::chrono::milliseconds busy_time{100};

}  // namespace

Checkpointer::~Checkpointer() { wait(); }

void Checkpointer::hurry() {
    hurried_ = 1;
    futex_wake(hurried_, 1);
}

void Checkpointer::wait() {
    if (thread_ == nullptr) return;
    hurry();
    thread_->join();
    thread_.reset();
}

void Checkpointer::forget_thread() { static_cast<void>(thread_.release()); }

std::uint32_t Checkpointer::make(std::uint64_t size) {
    {
        const std::lock_guard guard(mutex_);
        if (state_ == State::making) {
            return fail(EBUSY, "%s: a checkpoint is being made", store_.path.c_str());
        }
        state_ = State::making;
    }
    return make_timed(size);
}

// Requires: the state is `making`.
std::uint32_t Checkpointer::make_timed(std::uint64_t size) {
    const Clock::time_point began = Clock::now();
    if (!lock()) {
        finish(began, true);
        return fail(EBUSY, "%s: another process is making a checkpoint", store_.path.c_str());
    }
    const std::uint32_t error = make_locked(size);
    seen_steps_ = store_.control.page().checkpoint_progress.load();
    lock_.unlock_checkpoints();
    finish(began, false);
    return error;
}

void Checkpointer::finish(Clock::time_point began, bool is_busy) {
    const Clock::time_point end = Clock::now();
    const std::lock_guard guard(mutex_);
    end_of_rest_ = end + rest_factor * (end - began);
    busy_until_ = is_busy ? end + busy_time : end;
    state_ = State::idle;
}

// Takes the lock, or another one if its holder is stopped.
bool Checkpointer::lock() {
    bool is_locked = lock_.try_lock_checkpoints(0);
    if (!is_locked && is_other_stopped()) {
        for (std::uint32_t i = 1; !is_locked && i < WriterLock::checkpoint_locks; ++i) {
            is_locked = lock_.try_lock_checkpoints(i);
        }
    }
    // A first step: others may have seen the last one long ago.
    if (is_locked) store_.control.page().checkpoint_progress.fetch_add(1);
    return is_locked;
}

bool Checkpointer::is_other_stopped() {
    const std::uint64_t steps = store_.control.page().checkpoint_progress.load();
    const Clock::time_point now = Clock::now();
    if (seen_steps_ != steps) {
        seen_steps_ = steps;
        seen_since_ = now;
    }
    return now - seen_since_ >= patience;
}

std::uint32_t Checkpointer::fail_write(std::uint32_t error) const {
    return fail(error, "%s: cannot write a checkpoint: %s", store_.path.c_str(),
                std::strerror(static_cast<int>(error)));
}

std::uint32_t Checkpointer::make_locked(std::uint64_t size) try {
    ControlPage &control = store_.control.page();
    Image image;
    Follower follower(store_, image);
    if (const std::uint32_t error = follower.load_second(size, &control.checkpoint_progress)) {
        return error;
    }
    const int folder = store_.folder.descriptor();
    kel_journal_settings settings;
    if (const std::uint32_t error = load_journal_settings(folder, control.id, settings)) {
        return fail_write(error);
    }
    if (follower.position() != control.checkpoint.load()) {
        CheckpointHead head{};
        head.id = control.id;
        head.base = control.base;
        head.capacity = control.capacity;
        head.position = follower.position();
        head.segment = follower.segment();
        head.sequence = follower.sequence();
        const bool is_durable = settings.durability != KEL_DURABILITY_PROCESS;
        std::uint32_t error = is_durable ? flush_log(store_, head.position) : 0;
        if (error == 0) {
            error = write_checkpoint(folder, head, image.bytes(), &control.checkpoint_progress,
                                     is_durable);
        }
        if (error != 0) return fail_write(error);
        if (!store_.control.set_checkpoint(follower.position())) {
            remove_checkpoint(folder, follower.position());
            return 0;
        }
        // What was just written needs no check.
        Checkpoint written;
        if (written.open(folder, control.id, follower.position()) == 0) {
            control.checked_image.store(written.identity(), std::memory_order_relaxed);
        }
    }
    remove_old_files(store_, settings, follower.position(), follower.segment());
    return 0;
} catch (const std::bad_alloc &) {
    return fail(ENOMEM, "%s: no memory for a checkpoint", store_.path.c_str());
}

Checkpointer::Clock::duration Checkpointer::rest_left() {
    const std::lock_guard guard(mutex_);
    return end_of_rest_ - Clock::now();
}

void Checkpointer::rest() {
    for (auto left = rest_left(); hurried_ == 0 && left.count() > 0; left = rest_left()) {
        futex_sleep(hurried_, 0, left);
    }
}

void Checkpointer::rest_and_make(std::uint64_t size) {
    rest();
    {
        const std::lock_guard guard(mutex_);
        // The caller of `make` may have made one.
        if (state_ != State::due) return;
        state_ = State::making;
    }
    make_timed(size);
}

void Checkpointer::start(std::uint64_t size, bool is_urgent) {
    {
        const std::lock_guard guard(mutex_);
        if (state_ == State::due && is_urgent) hurry();
        if (state_ != State::idle || Clock::now() < busy_until_) return;
    }
    // A thread that still rests finds nothing to do.
    wait();
    {
        const std::lock_guard guard(mutex_);
        if (state_ != State::idle) return;
        state_ = State::due;
    }
    hurried_ = is_urgent ? 1 : 0;
    const SignalsBlocked blocked;
    try {
        thread_ = std::make_unique<std::thread>([this, size] { rest_and_make(size); });
    } catch (const std::exception &) {
        const std::lock_guard guard(mutex_);
        state_ = State::idle;  // No thread can be made now: a later commit tries again.
    }
}

}  // namespace tarnbase::runtime
