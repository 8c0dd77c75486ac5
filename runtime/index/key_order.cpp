// SPDX-License-Identifier: Apache-2.0
// The known orders are a hash table that is never freed: another thread may be reading it. It is
// replaced by a larger one when a library with more tables is loaded.
#include "runtime/index/key_order.h"

#include <atomic>
#include <memory>
#include <mutex>

#include "runtime/index/address_map.h"

namespace tarnbase::runtime {

namespace {

struct Entry {
    std::atomic<Compare> compare = nullptr;
    std::atomic<const KeyOrder *> order = nullptr;
};

struct Orders {
    explicit Orders(std::uint64_t places)
        : entries(std::make_unique<Entry[]>(places)), size(places) {}

    // The entry of a comparison, or the free one where it belongs. There is always a free one.
    Entry &at(Compare compare) const {
        std::uint64_t place = bucket_of(reinterpret_cast<std::uintptr_t>(compare), size);
        for (;; place = (place + 1) & (size - 1)) {
            const Compare there = entries[place].compare.load(std::memory_order_acquire);
            if (there == compare || there == nullptr) return entries[place];
        }
    }
    void set(Compare compare, const KeyOrder *order) {
        Entry &entry = at(compare);
        if (entry.compare.load(std::memory_order_relaxed) == nullptr) ++used;
        entry.order.store(order, std::memory_order_relaxed);
        entry.compare.store(compare, std::memory_order_release);
    }
    bool is_full() const { return used >= size / 2; }

    std::unique_ptr<Entry[]> entries;
    std::uint64_t size;  // a power of two
    std::uint64_t used = 0;
    std::unique_ptr<Orders> previous;
};

constinit std::mutex mutex;
constinit std::atomic<Orders *> orders = nullptr;

Orders *larger(Orders *old) {
    auto *made = new Orders(old != nullptr ? old->size * 2 : 256);
    made->previous.reset(old);
    for (std::uint64_t i = 0; old != nullptr && i < old->size; ++i) {
        const Entry &entry = old->entries[i];
        if (entry.compare != nullptr) made->set(entry.compare, entry.order);
    }
    return made;
}

}  // namespace

const KeyOrder *order_of_keys(Compare compare) {
    const Orders *known = orders.load(std::memory_order_acquire);
    if (known == nullptr) return nullptr;
    const Entry &entry = known->at(compare);
    return entry.order.load(std::memory_order_relaxed);
}

void set_order_of_keys(Compare compare, const KeyOrder *order) {
    const std::scoped_lock lock(mutex);
    Orders *known = orders.load(std::memory_order_relaxed);
    if (known == nullptr || known->is_full()) known = larger(known);
    known->set(compare, order);
    orders.store(known, std::memory_order_release);
}

}  // namespace tarnbase::runtime
