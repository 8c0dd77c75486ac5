/* SPDX-License-Identifier: Apache-2.0 */
// Reads the frames of a log up to where it is damaged. Segments are read as files, whatever their
// heads say and wherever they end; compressed ones as a whole.
#ifndef TARNBASE_RUNTIME_SALVAGE_FRAMES_LEFT_H
#define TARNBASE_RUNTIME_SALVAGE_FRAMES_LEFT_H

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "runtime/checkpoint/checkpoint.h"

namespace tarnbase::runtime {

class FramesLeft {
 public:
    // After a checkpoint.
    FramesLeft(int folder, const CheckpointHead &head);
    // The next frame, checked, valid until the next call. False: there is none.
    bool next(std::span<const char> &frame);
    std::uint64_t position() const { return position_; }
    // Why there is none, and whether the log just ends here, as far as can be seen.
    const std::string &what() const { return what_; }
    bool may_be_the_end() const { return may_be_the_end_; }

 private:
    bool open(std::uint64_t first);

    int folder_;
    StoreId id_;
    std::vector<char> segment_;
    std::uint64_t first_ = 0;
    std::uint64_t position_;
    std::uint64_t sequence_;
    std::string what_;
    bool may_be_the_end_ = false;
};

}  // namespace tarnbase::runtime

#endif
