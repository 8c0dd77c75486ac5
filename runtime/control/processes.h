/* SPDX-License-Identifier: Apache-2.0 */
// The file `processes` of a store: an empty file, with a record lock (fcntl, F_SETLK) on a byte
// for each living process that may write.
//
// The kernel releases the locks of a process when it ends, whatever ends it, and when the process
// closes ANY descriptor of the file. So a process opens the file once, and nothing else in it may
// open it, not even to copy it. The owner may read the file, others may only write it: whoever
// may only read the store can't place a lock in it.
#ifndef TARNBASE_RUNTIME_CONTROL_PROCESSES_H
#define TARNBASE_RUNTIME_CONTROL_PROCESSES_H

#include <atomic>
#include <cstdint>

namespace tarnbase::runtime {

inline constexpr const char *processes_name = "processes";

class Processes {
 public:
    Processes() = default;
    Processes(const Processes &) = delete;
    Processes &operator=(const Processes &) = delete;
    ~Processes();

    // Creates the file in a new store's folder. Returns 0 or an errno number.
    static std::uint32_t create(int folder);

    // Returns 0 or an errno number; EBUSY: this process has opened the file before.
    std::uint32_t open(int folder);

    // Locks the first free byte below `limit`, this process's number. Returns 0 or an errno
    // number; EAGAIN: there is none.
    std::uint32_t take_number(std::uint32_t limit, std::uint32_t &number) const;
    // False: another process has the byte locked.
    bool try_lock(std::uint32_t byte) const;
    // Waits until no other process has the byte locked. False: an error.
    bool lock(std::uint32_t byte) const;
    void unlock(std::uint32_t byte) const;

    // Whether another process has the byte locked; its pid, or 0 if that is of a pid namespace
    // that this process doesn't see.
    bool is_locked(std::uint32_t byte, std::uint32_t &pid) const;

    // Whether the file was opened by a process of which this one is a forked child. The child
    // has the descriptor, but none of the locks.
    bool is_inherited() const { return forks_ != forks.load(std::memory_order_relaxed); }

 private:
    // Forks from the first process to this one that a process with an open file made.
    static inline std::atomic<std::uint32_t> forks{0};
    static std::uint32_t count_forks();

    int descriptor_ = -1;
    std::uint32_t forks_ = 0;
};

}  // namespace tarnbase::runtime

#endif
