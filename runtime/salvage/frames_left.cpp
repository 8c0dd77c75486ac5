// SPDX-License-Identifier: Apache-2.0
#include "runtime/salvage/frames_left.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "runtime/base/file.h"
#include "runtime/base/file_io.h"
#include "runtime/log/compressed_segment.h"
#include "runtime/log/frame.h"
#include "runtime/log/segment.h"
#include "runtime/log/segment_files.h"

namespace tarnbase::runtime {

namespace {

constexpr std::uint64_t most_segment = most_frame_bytes + (1 << 20);

bool is_filled(std::span<const char> bytes, char with) {
    return std::all_of(bytes.begin(), bytes.end(), [with](char byte) { return byte == with; });
}

// The bytes of a regular file, as many as can be read.
std::vector<char> read_file(int folder, const std::string &name) {
    const int flags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    const File file(::openat(folder, name.c_str(), flags));
    struct stat status;
    if (!file.is_open() || ::fstat(file.descriptor(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return {};
    }
    std::vector<char> bytes(std::min(static_cast<std::uint64_t>(status.st_size), most_segment));
    if (read_fully(file.descriptor(), bytes, 0) != 0) bytes.clear();
    return bytes;
}

}  // namespace

FramesLeft::FramesLeft(int folder, const CheckpointHead &head)
    : folder_(folder), id_(head.id), position_(head.position), sequence_(head.sequence + 1) {
    open(head.segment);
}

bool FramesLeft::open(std::uint64_t first) {
    first_ = first;
    segment_ = read_file(folder_, segment_name(first));
    if (!segment_.empty()) return true;
    what_ = segment_name(first) + " can't be read";
    CompressedSegment compressed;
    std::uint32_t error = compressed.open(folder_, id_, first);
    if (error == 0) {
        segment_.resize(compressed.segment_bytes());
        error = compressed.expand(segment_);
    }
    if (error == EBADMSG) what_ = compressed_segment_name(first) + ": " + compressed.what();
    if (error != 0) segment_.clear();
    return error == 0;
}

bool FramesLeft::next(std::span<const char> &frame) {
    if (segment_.empty()) return false;
    std::uint64_t at = segment_head_bytes + position_ - first_;
    const auto here = [&] { return std::span<const char>(segment_).subspan(at); };
    if (at <= segment_.size() && here().size() >= end_mark_bytes &&
        is_filled(here().first(end_mark_bytes), '\xff')) {
        if (position_ == first_ || !open(position_)) return false;
        at = segment_head_bytes;
    }
    if (at >= segment_.size()) {
        what_ = segment_name(first_) + " is cut short";
        return false;
    }
    if (const char *wrong = check_frame(here(), sequence_)) {
        what_ = wrong;
        std::uint64_t sequence = 0;
        std::memcpy(&sequence, here().data(), std::min(here().size(), sizeof sequence));
        may_be_the_end_ = sequence < sequence_;
        return false;
    }
    FrameHead head;
    std::memcpy(&head, here().data(), sizeof head);
    frame = here().first(head.length);
    position_ += head.length;
    ++sequence_;
    return true;
}

}  // namespace tarnbase::runtime
