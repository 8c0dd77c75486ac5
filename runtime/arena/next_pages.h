/* SPDX-License-Identifier: Apache-2.0 */
// Memory that a worker gets from the system before the writer stores into it: the kernel zeroes a
// large page for as long as many commits take.
#ifndef TARNBASE_RUNTIME_ARENA_NEXT_PAGES_H
#define TARNBASE_RUNTIME_ARENA_NEXT_PAGES_H

#include <atomic>
#include <cstdint>
#include <span>

#include "runtime/base/worker.h"

namespace tarnbase::runtime {

class NextPages final : public Worker::Job {
 public:
    // Whether `get` was called for pages that the worker doesn't have yet.
    bool is_busy() const { return bytes_.load(std::memory_order_acquire) != 0; }
    // Leaves pages to the worker, which has to be woken; none if it can't be. Requires: it isn't
    // busy, or there is no worker.
    void get(std::span<char> pages);
    // Whoever uses the pages meanwhile gets them first, and no byte changes. A failure does
    // nothing: the first store gets the memory, as it does without this.
    void run() override;

 private:
    char *first_ = nullptr;                 // the worker's as long as it is busy
    std::atomic<std::uint64_t> bytes_ = 0;  // 0: nothing to do
};

}  // namespace tarnbase::runtime

#endif
