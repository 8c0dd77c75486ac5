// SPDX-License-Identifier: Apache-2.0
#include "runtime/replica/wanted.h"

#include <cstring>

namespace tarnbase::runtime {

namespace {

// Reading an image takes as long as observing one frame for so many of its blocks.
constexpr std::uint64_t blocks_for_a_frame = 64;

}  // namespace

void WantedObserver::before(std::span<const char> frame) {
    authors_.read(frame);
    has_found_ = is_wanted(frame);
    observe_or_not();
    if (is_observed_) changes_.before(frame);
}

void WantedObserver::after() {
    if (is_observed_) changes_.after();
}

bool WantedObserver::is_wanted(std::span<const char> frame) const {
    FrameHead head;
    std::memcpy(&head, frame.data(), sizeof head);
    kel_replica_transaction transaction{};
    transaction.sequence = head.sequence;
    authors_.describe(transaction);
    return wanted_.function(&transaction, wanted_.context) != 0;
}

void WantedObserver::observe_or_not() {
    if (!has_found_) {
        ++refused_;
        if (refused_ > image_.header->arena.blocks / blocks_for_a_frame) is_observed_ = false;
    } else if (!is_observed_) {
        changes_.start();
        is_observed_ = true;
    }
}

}  // namespace tarnbase::runtime
