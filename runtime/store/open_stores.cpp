// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/open_stores.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <shared_mutex>
#include <vector>

#include "runtime/store/store.h"

namespace tarnbase::runtime {

namespace {

std::shared_mutex mutex;
std::vector<kel_store *> stores;
// A process that has private stores only needs no lock.
std::atomic<std::size_t> count = 0;

}  // namespace

void add_open_store(kel_store &store) {
    const std::unique_lock lock(mutex);
    stores.push_back(&store);
    count = stores.size();
}

void remove_open_store(kel_store &store) {
    const std::unique_lock lock(mutex);
    stores.erase(std::remove(stores.begin(), stores.end(), &store), stores.end());
    count = stores.size();
}

void note_object(const void *object) {
    if (count.load(std::memory_order_relaxed) == 0) return;
    const std::shared_lock lock(mutex);
    for (kel_store *store : stores) {
        if (store->region.contains(object, 1)) return store->note_block(object);
    }
}

}  // namespace tarnbase::runtime
