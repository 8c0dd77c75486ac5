// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/checkpointer.h"

#include <pthread.h>
#include <signal.h>

#include <cerrno>
#include <cstring>
#include <system_error>

#include "runtime/base/error_text.h"

namespace tarnbase::runtime {

namespace {

// Signals are for the program's own threads.
class SignalsBlocked {
 public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    SignalsBlocked(const SignalsBlocked &) = delete;
    SignalsBlocked &operator=(const SignalsBlocked &) = delete;
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

 private:
    sigset_t before_;
};

}  // namespace

Checkpointer::~Checkpointer() { wait(); }

void Checkpointer::wait() {
    if (thread_ != nullptr && thread_->joinable()) thread_->join();
}

void Checkpointer::forget_thread() { static_cast<void>(thread_.release()); }

std::uint32_t Checkpointer::make(std::uint64_t size) {
    if (running_.exchange(true)) {
        return fail(EBUSY, "%s: a checkpoint is being made", store_.path.c_str());
    }
    std::uint32_t error = 0;
    if (lock_.try_lock_checkpoints()) {
        error = make_locked(size);
        lock_.unlock_checkpoints();
    } else {
        error = fail(EBUSY, "%s: another process is making a checkpoint", store_.path.c_str());
    }
    running_ = false;
    return error;
}

std::uint32_t Checkpointer::make_locked(std::uint64_t size) {
    ControlPage &control = store_.control.page();
    Image image;
    Follower follower(store_, image);
    if (const std::uint32_t error = follower.load_second(size)) return error;
    const int folder = store_.folder.descriptor();
    if (follower.position() != control.checkpoint.load()) {
        CheckpointHead head{};
        head.id = control.id;
        head.base = control.base;
        head.capacity = control.capacity;
        head.position = follower.position();
        head.segment = follower.segment();
        head.sequence = follower.sequence();
        if (const std::uint32_t error = write_checkpoint(folder, head, image.bytes())) {
            return fail(error, "%s: cannot write a checkpoint: %s", store_.path.c_str(),
                        std::strerror(static_cast<int>(error)));
        }
        control.checkpoint.store(follower.position());
        // What was just written needs no check.
        Checkpoint written;
        if (written.open(folder, control.id, follower.position()) == 0) {
            control.checked_image.store(written.identity(), std::memory_order_relaxed);
        }
    }
    remove_checkpoints(folder, follower.position());
    remove_segments(folder, follower.position(), follower.segment());
    return 0;
}

void Checkpointer::start(std::uint64_t size) {
    if (running_.load()) return;
    if (thread_ != nullptr) thread_->join();
    thread_.reset();
    const SignalsBlocked blocked;
    try {
        thread_ = std::make_unique<std::thread>([this, size] {
            try {
                make(size);
            } catch (const std::bad_alloc &) {
                running_ = false;
            }
        });
    } catch (const std::system_error &) {
        // No thread can be made now: a later commit tries again.
    }
}

}  // namespace tarnbase::runtime
