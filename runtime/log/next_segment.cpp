// SPDX-License-Identifier: Apache-2.0
#include "runtime/log/next_segment.h"

#include <utility>

namespace tarnbase::runtime {

NextSegment::NextSegment(Worker *worker) : worker_(worker) {
    if (worker_ != nullptr) worker_->add(*this);
}

void NextSegment::make(int folder, std::uint64_t bytes, Segment &old) {
    if (worker_ == nullptr || state_.load(std::memory_order_acquire) != State::none) return;
    folder_ = folder;
    bytes_ = bytes;
    segment_ = std::move(old);
    state_.store(State::due, std::memory_order_release);
    if (worker_->wake()) return;
    segment_ = {};
    state_.store(State::none, std::memory_order_relaxed);
}

bool NextSegment::take(int folder, const StoreId &id, std::uint64_t position, std::uint64_t least,
                       std::uint64_t most, Segment &taken) {
    if (!is_ready() || segment_.size() < least || segment_.size() > most) return false;
    if (segment_.give_name(folder, id, position) != 0) return false;
    taken = std::move(segment_);
    state_.store(State::none, std::memory_order_relaxed);
    return true;
}

void NextSegment::run() {
    if (state_.load(std::memory_order_acquire) != State::due) return;
    segment_ = {};
    const bool is_made = segment_.create_unnamed(folder_, bytes_) == 0;
    state_.store(is_made ? State::ready : State::none, std::memory_order_release);
}

}  // namespace tarnbase::runtime
