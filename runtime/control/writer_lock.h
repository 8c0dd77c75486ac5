/* SPDX-License-Identifier: Apache-2.0 */
// The writer's lock: one process at a time may append to a store's log.
//
// The lock belongs to a process, not to a thread. Taking and releasing a free lock are each one
// atomic operation on the lock word and no system call. Each process that may write has a
// number of its own, a byte of the file `processes` on which it has a record lock (fcntl,
// F_SETLK) as long as it lives: the kernel releases it whatever ends the process, and a child
// doesn't inherit it. A waiting process tests that byte of the holder, so a dead holder is
// noticed across pid namespaces, and a new process with the same pid isn't taken for it. The
// file can be opened only by whoever may write to the store: nobody else can hold the lock.
//
//   lock page          offset  size  member
//                           0     8  lock word: 0 free; else the holder's number + 1 in the
//                                    low 16 bits, and a count of acquisitions above
//                           8     4  processes that wait
//                          12     4  zero
//                          16        the holder: what is shown of it (Holder)
#ifndef TARNBASE_RUNTIME_CONTROL_WRITER_LOCK_H
#define TARNBASE_RUNTIME_CONTROL_WRITER_LOCK_H

#include <atomic>
#include <cstdint>

#include "runtime/base/file.h"

namespace tarnbase::runtime {

inline constexpr const char *processes_name = "processes";

// Who has the lock. Written after the lock was taken: for people, never for decisions.
struct Holder {
    std::uint32_t pid;  // in its own pid namespace
    std::uint32_t reserved;
    std::uint64_t start_time;     // of the process: field 22 of /proc/PID/stat
    std::uint64_t pid_namespace;  // inode of /proc/PID/ns/pid
    std::uint64_t since;          // nanoseconds since 1970
    char command[16];             // /proc/PID/comm, ends with NUL
};
static_assert(sizeof(Holder) == 48);

struct LockPage {
    std::atomic<std::uint64_t> word;
    std::atomic<std::uint32_t> waiting;
    std::uint32_t reserved;
    Holder holder;
    char more_reserved[4096 - 64];
};
static_assert(sizeof(LockPage) == 4096);

// A process's part in the lock.
class WriterLock {
 public:
    WriterLock() = default;
    WriterLock(const WriterLock &) = delete;
    WriterLock &operator=(const WriterLock &) = delete;

    // Registers the process: opens the file in the store's folder, which is created with the
    // store, and locks a free byte. Returns 0 or an errno number; EAGAIN: too many processes.
    std::uint32_t attach(int folder, LockPage &page);

    // Takes the lock, which this process must not have. A dead holder loses it. Returns 0 or
    // ETIMEDOUT; negative milliseconds: waits without limit.
    std::uint32_t acquire(std::int64_t milliseconds);
    void release();
    bool is_held() const { return held_; }

    // Whether a living process has the lock, and which. Also for a process that only reads.
    static bool holder(int folder, const LockPage &page, Holder &holder);

    // A lock for the maker of checkpoints, of the same file. False: another process has it.
    bool try_lock_checkpoints();
    void unlock_checkpoints();

 private:
    LockPage *page_ = nullptr;
    File file_;
    std::uint32_t number_ = 0;
    bool held_ = false;
};

}  // namespace tarnbase::runtime

#endif
