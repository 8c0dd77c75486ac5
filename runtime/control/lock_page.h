/* SPDX-License-Identifier: Apache-2.0 */
// The page of the writer's lock, in the control file.
//
//   offset  size  member
//        0     8  lock word: the holder's number + 1 in bits 0 to 14, 0 if the lock is free;
//                 whether processes wait in bit 15; a count of acquisitions above
//        8     8  zero
//       16    48  the holder: what is shown of it (Holder), as words
//       64        zero up to 4096
#ifndef TARNBASE_RUNTIME_CONTROL_LOCK_PAGE_H
#define TARNBASE_RUNTIME_CONTROL_LOCK_PAGE_H

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

namespace tarnbase::runtime {

// Who has the lock. Written after the lock was taken, and only shown: no decision depends on it.
struct Holder {
    std::uint32_t pid;            // in its own pid namespace
    std::uint32_t acquisition;    // the low half of the word's count
    std::uint64_t start_time;     // of the process: field 22 of /proc/PID/stat
    std::uint64_t pid_namespace;  // inode of /proc/PID/ns/pid
    std::uint64_t since;          // nanoseconds since 1970
    char command[16];             // /proc/PID/comm, ends with NUL
};
static_assert(sizeof(Holder) == 48);

struct LockPage {
    std::atomic<std::uint64_t> word;
    std::uint64_t reserved;
    std::array<std::atomic<std::uint64_t>, 6> holder;
    char more_reserved[4096 - 64];
};
static_assert(sizeof(LockPage) == 4096);
static_assert(offsetof(LockPage, holder) == 16);
static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

// This process. `acquisition` and `since` are 0.
Holder describe_this_process();

// Stores the process that has the lock, and calls this, in the page. Its own `acquisition` and
// `since` stay as they are: a holder that was just changed would be slow to copy.
void store_holder(LockPage &page, const Holder &self, std::uint32_t acquisition,
                  std::uint64_t since);

// The holder that the page shows for a lock word. False: it shows another one, since the process
// was stopped or killed right after it took the lock, or took it just now.
bool load_holder(const LockPage &page, std::uint64_t word, Holder &holder);

// Whether the process may be alive, as far as /proc shows it: a process of another pid namespace
// may always be.
bool may_be_alive(const Holder &holder);

// Its command, with printable characters only.
std::string printable_command(const Holder &holder);

// "held by PID (COMMAND) since 2026-11-22 08:20:01", in local time.
std::string holder_text(const Holder &holder);

}  // namespace tarnbase::runtime

#endif
