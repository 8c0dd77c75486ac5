/* SPDX-License-Identifier: Apache-2.0 */
// How processes take the writer's lock and publish: each access to shared memory and each system
// call is one call of a member of `Steps`, so that a test can run this code in every order of
// steps, with a death at each of them.
//
// All accesses are sequentially consistent: the test assumes it, and they cost the same here.
#ifndef TARNBASE_RUNTIME_CONTROL_LOCK_PROTOCOL_H
#define TARNBASE_RUNTIME_CONTROL_LOCK_PROTOCOL_H

#include <cstdint>

namespace tarnbase::runtime {

inline constexpr std::uint64_t holder_bits = 0x7fff;
inline constexpr std::uint64_t waiters_bit = 0x8000;
inline constexpr unsigned acquisitions_shift = 16;
// The numbers of processes are below this.
inline constexpr std::uint32_t most_processes = holder_bits;

constexpr bool is_held(std::uint64_t word) { return (word & holder_bits) != 0; }
constexpr std::uint32_t holder_number(std::uint64_t word) {
    return static_cast<std::uint32_t>(word & holder_bits) - 1;
}
constexpr std::uint64_t acquisitions(std::uint64_t word) { return word >> acquisitions_shift; }
// The count stays when the lock is released, so that no word of a holder comes twice.
constexpr std::uint64_t free_word(std::uint64_t word) {
    return acquisitions(word) << acquisitions_shift;
}
constexpr std::uint64_t held_word(std::uint64_t before, std::uint32_t number) {
    return (acquisitions(before) + 1) << acquisitions_shift | (number + 1);
}

// Takes the lock for a process with a number. Returns the word, or 0 if the time is over.
//
// A process that was woken, or that takes over from a dead one, sets the bit for waiters: others
// may still wait, and nobody else wakes them.
template <typename Steps>
std::uint64_t take_lock(Steps &steps, std::uint32_t number) {
    std::uint64_t others = 0;
    std::uint64_t word = steps.word.load();
    while (true) {
        if (!is_held(word) || !steps.is_alive(holder_number(word))) {
            const std::uint64_t taken = held_word(word, number) | others | (word & waiters_bit);
            if (steps.word.compare_exchange_strong(word, taken)) return taken;
            continue;
        }
        if (steps.time_is_over()) return 0;
        const std::uint64_t waited_for = word | waiters_bit;
        if (word != waited_for && !steps.word.compare_exchange_strong(word, waited_for)) continue;
        steps.sleep(waited_for);
        others = waiters_bit;
        word = steps.word.load();
    }
}

// Releases a lock that this process has.
template <typename Steps>
void release_lock(Steps &steps, std::uint64_t taken) {
    const std::uint64_t word = steps.word.exchange(free_word(taken));
    if ((word & waiters_bit) != 0) steps.wake();
}

// Releases the lock that a dead process had under the number that this process has got. Until
// then the dead one looks alive to others.
template <typename Steps>
void release_inherited_number(Steps &steps, std::uint32_t number) {
    std::uint64_t word = steps.word.load();
    while (is_held(word) && holder_number(word) == number) {
        if (steps.word.compare_exchange_strong(word, free_word(word))) {
            if ((word & waiters_bit) != 0) steps.wake();
            return;
        }
    }
}

// Publishes a position, and wakes the processes that wait for one.
//
// The count of waiting processes is cleared after they are woken, and only if nobody has come since
// before the position was stored: if the publisher dies, the next publication wakes them. One
// that comes after the first look sees the position, or is seen by the second look.
template <typename Steps>
void publish_position(Steps &steps, std::uint64_t position) {
    auto waiters = steps.waiters.load();
    steps.published.store(position);
    if (waiters == 0 && steps.waiters.load() == 0) return;
    steps.wake();
    steps.waiters.compare_exchange_strong(waiters, 0);
}

template <typename Steps>
void count_waiter(Steps &steps) {
    auto waiters = steps.waiters.load();
    while (!steps.waiters.compare_exchange_strong(waiters, waiters + 1)) {
    }
}

// Waits until more than `position` is published. False: the time is over.
template <typename Steps>
bool wait_for_position(Steps &steps, std::uint64_t position) {
    while (true) {
        if (steps.published.load() > position) return true;
        if (steps.time_is_over()) return false;
        // Without write permission it isn't counted, and the sleep is short.
        if (steps.may_write()) count_waiter(steps);
        const std::uint64_t seen = steps.published.load();
        if (seen > position) return true;
        steps.sleep(seen);
    }
}

}  // namespace tarnbase::runtime

#endif
