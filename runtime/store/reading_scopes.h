/* SPDX-License-Identifier: Apache-2.0 */
// Keeps the reading scopes of a process's threads apart from the changes of the memory that they
// read.
//
// Each thread has a slot, on a cache line of its own, with the number of its open scopes. To open
// the first one it stores 1 in its slot and then looks at the gate. A change closes the gate and
// then looks at all slots. These accesses are sequentially consistent, so one of the two sees the
// other. A reader stores to no line that another one reads or stores to.
//
// Neither side starves. A closed gate keeps new scopes out, so a change waits only for those that
// are open. After a change the scopes that waited for it are opened before the next change begins.
#ifndef TARNBASE_RUNTIME_STORE_READING_SCOPES_H
#define TARNBASE_RUNTIME_STORE_READING_SCOPES_H

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>

#include "runtime/base/condition.h"
#include "runtime/base/thread_number.h"

namespace tarnbase::runtime {

class ReadingScopes {
 public:
    ReadingScopes() = default;
    ReadingScopes(const ReadingScopes &) = delete;
    ReadingScopes &operator=(const ReadingScopes &) = delete;
    ~ReadingScopes();

    // Opens a scope of this thread. False: a change keeps it out. May throw std::bad_alloc.
    bool try_begin_read();
    // Opens a scope of this thread in the change that this thread makes.
    void begin_read_in_change();
    // Opens a scope of this thread after the change that keeps it out.
    void wait_and_begin_read();
    // Ends the last scope of this thread. False: it has none.
    bool end_read();
    // Whether this thread has a scope open.
    bool is_reading() const;

    // Begins a change: waits for other changes to end, then for the scopes of other threads.
    // Negative milliseconds: no limit. False: the time is over, and there is no change.
    bool begin_change(std::int64_t milliseconds);
    // Begins a change if there is none, and waits for the scopes of other threads. Otherwise it
    // waits for the end of the other change, and returns false.
    bool begin_change_or_wait();
    void end_change();

 private:
    // What the bits of the gate mean. In a phase of passing, those who waited for a change open
    // their scopes, and no change begins.
    static constexpr std::uint32_t open = 0;
    static constexpr std::uint32_t closed = 1;   // a change has begun
    static constexpr std::uint32_t awaited = 2;  // with `closed`: a thread waits for its end
    static constexpr std::uint32_t passing = 4;

    static constexpr std::size_t line = 128;  // processors fetch lines of 64 bytes in pairs

    struct alignas(line) Slot {
        std::atomic<std::uint32_t> scopes = 0;
    };

    // Chunk k has first_slots << k slots.
    static constexpr std::uint32_t first_slots = 8;
    static constexpr std::size_t most_chunks = 20;
    static std::size_t chunk_of(std::uint32_t number);
    static std::uint32_t index_in(std::size_t chunk, std::uint32_t number);

    // This thread's slot. `find_slot`: null if it has none.
    Slot &own_slot();
    Slot *find_slot() const;
    Slot &slot_in_new_chunk(std::size_t chunk);

    bool is_closed() const { return (gate_.load() & closed) != 0; }
    bool close_gate();
    // Marks a closed gate as awaited. False: it isn't closed any more.
    bool await_change();
    bool wait_for_scopes(std::int64_t milliseconds);
    void leave(Slot &slot);

    std::array<std::atomic<Slot *>, most_chunks> chunks_{};
    std::mutex mutex_;
    Condition changed_;
    std::uint64_t changes_ = 0;         // that a thread has waited for, and that have ended
    std::uint32_t waiting_scopes_ = 0;  // threads that wait for the end of the change
    std::uint32_t passing_scopes_ = 0;  // threads that waited, and haven't opened their scopes yet
    alignas(line) std::atomic<std::uint32_t> gate_ = open;
};

}  // namespace tarnbase::runtime

#endif
