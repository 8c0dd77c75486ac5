/* SPDX-License-Identifier: Apache-2.0 */
// A segment that a worker makes before the writer needs it: its disk blocks are allocated and its
// pages mapped, and only its name is missing. Nothing is left of it when the process ends.
#ifndef TARNBASE_RUNTIME_LOG_NEXT_SEGMENT_H
#define TARNBASE_RUNTIME_LOG_NEXT_SEGMENT_H

#include <atomic>
#include <cstdint>

#include "runtime/base/worker.h"
#include "runtime/log/segment.h"

namespace tarnbase::runtime {

class NextSegment final : public Worker::Job {
 public:
    // Without a worker there is never a segment.
    explicit NextSegment(Worker *worker);

    // Has the worker make one of `bytes`, and unmap `old` before, which may be none. If the worker
    // makes one already, or has made it, nothing happens; nor if it can't: then this process makes
    // it when it is needed.
    void make(int folder, std::uint64_t bytes, Segment &old);
    // Gives the segment its name and moves it, if one is ready that has between `least` and `most`
    // bytes. False: there is none, or it can't have the name.
    bool take(int folder, const StoreId &id, std::uint64_t position, std::uint64_t least,
              std::uint64_t most, Segment &taken);
    bool is_ready() const { return state_.load(std::memory_order_acquire) == State::ready; }

    void run() override;

 private:
    enum class State : std::uint32_t { none, due, ready };

    Worker *worker_;
    std::atomic<State> state_ = State::none;
    // The worker's as long as one is due.
    int folder_ = -1;
    std::uint64_t bytes_ = 0;
    Segment segment_;
};

}  // namespace tarnbase::runtime

#endif
