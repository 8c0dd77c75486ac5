// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/reading_scopes.h"

#include <algorithm>
#include <bit>

namespace tarnbase::runtime {

ReadingScopes::~ReadingScopes() {
    for (std::atomic<Slot *> &chunk : chunks_) delete[] chunk.load();
}

std::size_t ReadingScopes::chunk_of(std::uint32_t number) {
    return static_cast<std::size_t>(std::bit_width((number - 1) / first_slots + 1)) - 1;
}

std::uint32_t ReadingScopes::index_in(std::size_t chunk, std::uint32_t number) {
    return number - 1 - first_slots * ((1U << chunk) - 1);
}

ReadingScopes::Slot *ReadingScopes::find_slot() const {
    const std::uint32_t number = thread_number;
    if (number == 0) return nullptr;
    const std::size_t chunk = chunk_of(number);
    Slot *slots = chunks_[chunk].load(std::memory_order_acquire);
    return slots != nullptr ? slots + index_in(chunk, number) : nullptr;
}

ReadingScopes::Slot &ReadingScopes::own_slot() {
    if (Slot *slot = find_slot()) return *slot;
    if (thread_number == 0) take_thread_number();
    return slot_in_new_chunk(chunk_of(thread_number));
}

ReadingScopes::Slot &ReadingScopes::slot_in_new_chunk(std::size_t chunk) {
    const std::lock_guard guard(mutex_);
    Slot *slots = chunks_[chunk].load();
    if (slots == nullptr) {
        slots = new Slot[std::size_t{first_slots} << chunk];
        chunks_[chunk].store(slots);
    }
    return slots[index_in(chunk, thread_number)];
}

bool ReadingScopes::is_reading() const {
    const Slot *slot = find_slot();
    return slot != nullptr && slot->scopes.load(std::memory_order_relaxed) != 0;
}

bool ReadingScopes::try_begin_read() {
    Slot &slot = own_slot();
    const std::uint32_t scopes = slot.scopes.load(std::memory_order_relaxed);
    if (scopes != 0) {
        slot.scopes.store(scopes + 1, std::memory_order_relaxed);
        return true;
    }
    slot.scopes.store(1);
    if (!is_closed()) return true;
    leave(slot);
    return false;
}

void ReadingScopes::begin_read_in_change() { own_slot().scopes.store(1); }

void ReadingScopes::wait_and_begin_read() {
    Slot &slot = own_slot();
    std::unique_lock lock(mutex_);
    while (true) {
        if (await_change()) break;
        slot.scopes.store(1);
        if (!is_closed()) return;
        slot.scopes.store(0);
        changed_.notify_all();
    }
    waiting_scopes_ += 1;
    changed_.wait(lock, [&, before = changes_] { return changes_ != before; });
    slot.scopes.store(1);
    passing_scopes_ -= 1;
    if (passing_scopes_ != 0) return;
    gate_.store(open);
    changed_.notify_all();
}

// The last scope's end is noticed by a change that waits for it.
void ReadingScopes::leave(Slot &slot) {
    slot.scopes.store(0);
    if (!is_closed()) return;
    { const std::lock_guard guard(mutex_); }
    changed_.notify_all();
}

bool ReadingScopes::end_read() {
    Slot *slot = find_slot();
    const std::uint32_t scopes = slot != nullptr ? slot->scopes.load(std::memory_order_relaxed) : 0;
    if (scopes == 0) return false;
    if (scopes == 1) {
        leave(*slot);
    } else {
        slot->scopes.store(scopes - 1, std::memory_order_relaxed);
    }
    return true;
}

bool ReadingScopes::close_gate() {
    std::uint32_t state = open;
    return gate_.compare_exchange_strong(state, closed);
}

bool ReadingScopes::await_change() {
    std::uint32_t state = gate_.load();
    while (state == closed) {
        if (gate_.compare_exchange_weak(state, closed | awaited)) return true;
    }
    return state == (closed | awaited);
}

bool ReadingScopes::wait_for_scopes(std::int64_t milliseconds) {
    const auto is_free = [](const Slot &slot) { return slot.scopes.load() == 0; };
    for (std::size_t i = 0; i < most_chunks; ++i) {
        const Slot *slots = chunks_[i].load();
        if (slots == nullptr) continue;
        const Slot *end = slots + (std::size_t{first_slots} << i);
        if (std::all_of(slots, end, is_free)) continue;
        std::unique_lock lock(mutex_);
        if (changed_.wait_for(lock, milliseconds,
                              [&] { return std::all_of(slots, end, is_free); })) {
            continue;
        }
        lock.unlock();
        end_change();
        return false;
    }
    return true;
}

bool ReadingScopes::begin_change(std::int64_t milliseconds) {
    if (!close_gate()) {
        std::unique_lock lock(mutex_);
        // The gate isn't awaited in a phase of passing: its end is always announced.
        const auto closes = [this] {
            while (!close_gate()) {
                if (gate_.load() == passing || await_change()) return false;
            }
            return true;
        };
        if (!changed_.wait_for(lock, milliseconds, closes)) return false;
    }
    return wait_for_scopes(milliseconds);
}

bool ReadingScopes::begin_change_or_wait() {
    if (close_gate()) return wait_for_scopes(-1);
    std::unique_lock lock(mutex_);
    if (await_change()) {
        changed_.wait(lock, [&, before = changes_] { return changes_ != before; });
    } else {
        changed_.wait(lock, [&] { return gate_.load() != passing; });
    }
    return false;
}

void ReadingScopes::end_change() {
    std::uint32_t state = closed;
    if (gate_.compare_exchange_strong(state, open)) return;
    const std::lock_guard guard(mutex_);
    changes_ += 1;
    passing_scopes_ = waiting_scopes_;
    waiting_scopes_ = 0;
    gate_.store(passing_scopes_ != 0 ? passing : open);
    changed_.notify_all();
}

}  // namespace tarnbase::runtime
