/* SPDX-License-Identifier: Apache-2.0 */
// Makes checkpoints of a store, in a thread of its own or in the caller's. A checkpoint is made
// from the one before and the log: the image that the process works on isn't involved, and
// no writer waits. The thread rests after a checkpoint for nine times as long as it took, so that
// a busy writer pays for a tenth of a processor.
//
// One process at a time makes them, and counts its steps in the control file. If it counts none
// for some seconds, it is stopped, and another one makes a checkpoint beside it. That does no harm:
// the files have other names until they are complete, and the position of the newest only grows.
#ifndef TARNBASE_RUNTIME_STORE_CHECKPOINTER_H
#define TARNBASE_RUNTIME_STORE_CHECKPOINTER_H

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "runtime/control/writer_lock.h"
#include "runtime/store/follower.h"

namespace tarnbase::runtime {

class Checkpointer {
 public:
    Checkpointer(StoreFolder &store, WriterLock &lock) : store_(store), lock_(lock) {}
    Checkpointer(const Checkpointer &) = delete;
    Checkpointer &operator=(const Checkpointer &) = delete;
    // Waits for the thread.
    ~Checkpointer();

    // Makes a checkpoint of what is published. `size` is the store's, as far as it is known.
    // Returns 0; EBUSY another thread or process is making one; or an error of its files.
    std::uint32_t make(std::uint64_t size);
    // How long another process may make one without a step.
    static constexpr std::chrono::seconds patience{3};
    // The same in the background, after a rest unless it is urgent. After a failure the log stays
    // as long as it is.
    void start(std::uint64_t size, bool is_urgent);
    // Waits for the end of what `start` began, without a rest.
    void wait();
    // In a child process the thread doesn't exist.
    void forget_thread();

 private:
    using Clock = std::chrono::steady_clock;
    // `due`: the thread rests before it makes one.
    enum class State { idle, due, making };

    std::uint32_t make_locked(std::uint64_t size);
    std::uint32_t make_timed(std::uint64_t size);
    std::uint32_t fail_write(std::uint32_t error) const;
    bool lock();
    bool is_other_stopped();
    void finish(Clock::time_point began, bool is_busy);
    Clock::duration rest_left();
    void rest();
    void rest_and_make(std::uint64_t size);
    void hurry();

    StoreFolder &store_;
    WriterLock &lock_;
    std::mutex mutex_;  // of the state and the rest's end
    State state_ = State::idle;
    Clock::time_point end_of_rest_{};
    Clock::time_point busy_until_{};  // until then no thread looks whether another process is done
    // The steps of all processes as they were last seen, and since when there are no others.
    std::optional<std::uint64_t> seen_steps_;
    Clock::time_point seen_since_{};
    // Not 0: the rest is over. No condition variable: a child process couldn't destroy it.
    std::atomic<std::uint64_t> hurried_ = 0;
    std::unique_ptr<std::thread> thread_;
};

}  // namespace tarnbase::runtime

#endif
