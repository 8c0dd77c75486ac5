/* SPDX-License-Identifier: Apache-2.0 */
// Makes checkpoints of a store, in a thread of its own or in the caller's. A checkpoint is made
// of the one before and of the log: the image that the process works on isn't involved, and
// no writer waits.
#ifndef TARNBASE_RUNTIME_STORE_CHECKPOINTER_H
#define TARNBASE_RUNTIME_STORE_CHECKPOINTER_H

#include <atomic>
#include <memory>
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
    // The same in the background. A failure leaves the log as long as it is.
    void start(std::uint64_t size);
    // Waits for the end of what `start` began.
    void wait();
    // In a child process the thread doesn't exist.
    void forget_thread();

 private:
    std::uint32_t make_locked(std::uint64_t size);

    StoreFolder &store_;
    WriterLock &lock_;
    std::atomic<bool> running_ = false;
    std::unique_ptr<std::thread> thread_;
};

}  // namespace tarnbase::runtime

#endif
