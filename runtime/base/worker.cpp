// SPDX-License-Identifier: Apache-2.0
#include "runtime/base/worker.h"

#include <sched.h>
#include <unistd.h>

#include <exception>

#include "runtime/base/signals_blocked.h"

namespace tarnbase::runtime {

bool Worker::wake() {
    if (is_stopped_.load(std::memory_order_relaxed)) return false;
    if (thread_ == nullptr) return start();
    if (process_ != ::getpid()) return false;
    wakes_.fetch_add(1);
    wakes_.notify_one();
    return true;
}

bool Worker::start() {
    process_ = ::getpid();
    const SignalsBlocked blocked;
    try {
        thread_ = std::make_unique<std::thread>([this] { run(); });
    } catch (const std::exception &) {
        return false;
    }
    return true;
}

void Worker::stop() {
    is_stopped_.store(true);
    if (thread_ == nullptr) return;
    if (process_ != ::getpid()) {
        // In a child process the thread doesn't exist.
        static_cast<void>(thread_.release());
        return;
    }
    wakes_.fetch_add(1);
    wakes_.notify_one();
    thread_->join();
    thread_.reset();
}

void Worker::run() {
    // A thread of this kind never takes the processor from the one that wakes it.
    const sched_param none{};
    ::sched_setscheduler(0, SCHED_BATCH, &none);
    while (true) {
        const std::uint32_t seen = wakes_.load();
        if (is_stopped_.load()) return;
        for (Job *job : jobs_) job->run();
        wakes_.wait(seen);
    }
}

}  // namespace tarnbase::runtime
