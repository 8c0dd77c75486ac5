/* SPDX-License-Identifier: Apache-2.0 */
// A thread that does ahead of time what another one would have to wait for. The first `wake`
// starts it, so whoever has no work for it has no thread.
#ifndef TARNBASE_RUNTIME_BASE_WORKER_H
#define TARNBASE_RUNTIME_BASE_WORKER_H

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

namespace tarnbase::runtime {

// One thread at a time calls its functions.
class Worker {
 public:
    // What the thread runs after each `wake`. It doesn't throw, and returns at once if there is
    // nothing to do.
    class Job {
     public:
        virtual void run() = 0;

     protected:
        ~Job() = default;
    };

    Worker() = default;
    Worker(const Worker &) = delete;
    Worker &operator=(const Worker &) = delete;
    ~Worker() { stop(); }

    // Requires: no `wake` before; the job lives until `stop`.
    void add(Job &job) { jobs_.push_back(&job); }
    // Runs the jobs. False: there is no thread. It can't be started now, `stop` was called, or the
    // process is a child of the one that has started it.
    bool wake();
    // Waits for the end of the thread, for good.
    void stop();

 private:
    bool start();
    void run();

    std::vector<Job *> jobs_;
    std::atomic<std::uint32_t> wakes_ = 0;
    std::atomic<bool> is_stopped_ = false;
    pid_t process_ = 0;  // the one that has the thread
    std::unique_ptr<std::thread> thread_;
};

}  // namespace tarnbase::runtime

#endif
