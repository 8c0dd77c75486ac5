/* SPDX-License-Identifier: Apache-2.0 */
// Writes a store's log to the disk: at once, so that all who commit at the same time share it, or
// in a thread some time after a commit.
#ifndef TARNBASE_RUNTIME_STORE_FLUSHER_H
#define TARNBASE_RUNTIME_STORE_FLUSHER_H

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

#include "runtime/control/writer_lock.h"
#include "runtime/store/follower.h"

namespace tarnbase::runtime {

class Flusher {
 public:
    Flusher(StoreFolder &store, const WriterLock &lock) : store_(store), lock_(lock) {}
    Flusher(const Flusher &) = delete;
    Flusher &operator=(const Flusher &) = delete;
    // Waits for the thread, which flushes nothing more.
    ~Flusher();

    // Returns when what is published up to `position` is on the disk. Any thread may call it.
    // Returns 0 or sets the error text.
    std::uint32_t flush(std::uint64_t position);
    // Flushes in the background after so many milliseconds.
    void flush_within(std::uint32_t milliseconds);
    // In a child process the thread doesn't exist.
    void forget_thread();

 private:
    enum State : std::uint64_t { idle, due, ended };

    std::uint32_t flush_published();
    std::uint32_t flush_segment(std::uint64_t first);
    void run();

    StoreFolder &store_;
    const WriterLock &lock_;
    std::mutex mutex_;  // of who flushes
    File segment_;      // the one that was flushed last
    std::uint64_t first_ = 0;
    std::atomic<std::uint64_t> state_ = idle;
    std::atomic<std::uint32_t> interval_ = 0;
    std::mutex thread_mutex_;
    std::unique_ptr<std::thread> thread_;
};

// Writes to the disk what the log has before `position`. Returns 0 or an errno number.
std::uint32_t flush_log(StoreFolder &store, std::uint64_t position);

}  // namespace tarnbase::runtime

#endif
