/* SPDX-License-Identifier: Apache-2.0 */
// The writer's lock: one process at a time may append to a store's log.
//
// The lock belongs to a process, not to a thread: threads of one process keep out of each other's
// way by a mutex of the caller, also for the functions below. Taking and releasing a free lock
// are each one atomic operation on the lock word (lock_page.h) and no system call. Each process
// that may write has a number, a byte of the file `processes` that it has locked as long as it
// lives (processes.h). A waiting process tests the holder's byte at least every 50 ms and takes
// the lock over from a dead one. So a dead holder is noticed across pid namespaces, and a new
// process with the same pid isn't taken for it. A stopped holder is alive and is waited for.
//
// The word contains a count of acquisitions, and each change of it is a compare-and-exchange of
// the whole word. So a process that has found a holder dead can't take the lock from another
// one that got it meanwhile, under the same number or a different one.
#ifndef TARNBASE_RUNTIME_CONTROL_WRITER_LOCK_H
#define TARNBASE_RUNTIME_CONTROL_WRITER_LOCK_H

#include <atomic>
#include <chrono>
#include <cstdint>

#include "runtime/control/lock_page.h"
#include "runtime/control/processes.h"

namespace tarnbase::runtime {

// A process's part in the lock. In a forked child of the process that attached it, it changes
// nothing that is shared.
class WriterLock {
 public:
    WriterLock() = default;
    WriterLock(const WriterLock &) = delete;
    WriterLock &operator=(const WriterLock &) = delete;
    // Releases the lock.
    ~WriterLock();

    // Registers the process. The page stays mapped as long as this object lives. Returns 0 or an
    // errno number. EAGAIN: too many processes. EBUSY: it is registered. EACCES, EROFS: it may not
    // write.
    std::uint32_t attach(int folder, LockPage &page);

    // Takes the lock, which this process must not have. A dead holder loses it. Negative
    // milliseconds: no limit. Returns 0; ETIMEDOUT; EPERM in a forked child.
    std::uint32_t acquire(std::int64_t milliseconds);
    void release();
    // Any thread may call it.
    bool is_held() const { return word_.load(std::memory_order_relaxed) != 0 && !is_inherited(); }

    // Whether this process is a forked child of the one that attached the lock. No system call.
    bool is_inherited() const { return page_ != nullptr && processes_.is_inherited(); }

    // Whether a living process has the lock, and which.
    bool holder(Holder &holder) const;
    // The same for a process that only reads, and can't test the holder's byte: whether the page
    // shows a holder that may be alive.
    static bool shown_holder(const LockPage &page, Holder &holder);

    // Whether no other process is registered.
    bool is_alone() const;

    // Locks for the makers of checkpoints. False: another process has it. A process has one at a
    // time.
    static constexpr std::uint32_t checkpoint_locks = 8;
    bool try_lock_checkpoints(std::uint32_t number = 0);
    void unlock_checkpoints();

    // The lock of who writes the log to the disk. The threads of a process agree among themselves.
    // False: an error, or this is a forked child.
    bool lock_flushes() const;
    void unlock_flushes() const;

    // This process. `acquisition` and `since` are 0.
    const Holder &self() const { return self_; }

 private:
    void give_way();

    LockPage *page_ = nullptr;
    Processes processes_;
    std::uint32_t number_ = 0;
    std::atomic<std::uint64_t> word_ = 0;  // as it was taken; 0: the lock isn't held
    std::uint32_t checkpoint_lock_ = 0;    // the one that was taken last
    Holder self_{};
    bool woke_other_ = false;  // at the last release
    std::chrono::steady_clock::time_point gave_way_{};
};

}  // namespace tarnbase::runtime

#endif
