/* SPDX-License-Identifier: Apache-2.0 */
// The log of a store: frames one after another, in segment files of the store's folder.
//
// A position counts bytes of frames since the store was created. Segment `log-POSITION`, 16
// hexadecimal digits, contains the frames from that position on:
//
//   offset  size  member
//        0     8  magic "TARNLOG1"
//        8     8  position of the first frame
//       16    16  id of the store
//       32     4  bytes of the file
//       36     4  CRC32C of the 36 bytes before
//       40    24  zero
//       64        frames; after the last one of the segment 16 bytes of ones, if the next
//                 frame is in a segment of its own
//
// What is after the position that the store's control page has published is of no value: the
// next writer overwrites it.
#ifndef TARNBASE_RUNTIME_LOG_LOG_H
#define TARNBASE_RUNTIME_LOG_LOG_H

#include <array>
#include <cstdint>
#include <span>
#include <string>

#include "runtime/base/file.h"

namespace tarnbase::runtime {

using StoreId = std::array<std::uint8_t, 16>;

std::string segment_name(std::uint64_t position);

// A segment that is mapped. The destructor unmaps it.
class Segment {
 public:
    Segment() = default;
    Segment(Segment &&other) noexcept;
    Segment &operator=(Segment &&other) noexcept;
    ~Segment();

    // Creates a segment with room for a frame of `frame_bytes` at least, all of its disk
    // blocks allocated and its pages mapped. A file of that name is replaced. Returns 0 or an
    // errno number, ENOSPC among them.
    std::uint32_t create(int folder, const StoreId &id, std::uint64_t position,
                         std::uint64_t bytes);
    // Opens the segment that begins at `position`. Returns 0; ENOENT there is none; EBADMSG it
    // is damaged or of another store; or an errno number.
    std::uint32_t open(int folder, const StoreId &id, std::uint64_t position, bool writable);

    bool is_open() const { return bytes_ != nullptr; }
    std::uint64_t first() const { return first_; }
    // Whether the position is in the segment or at its end.
    bool contains(std::uint64_t position) const;
    // The bytes from a position to the end of the segment.
    std::span<char> from(std::uint64_t position) const;

 private:
    char *bytes_ = nullptr;
    std::uint64_t size_ = 0;
    std::uint64_t first_ = 0;
};

// Appends frames. One process at a time does so, the one that has the writer's lock.
class LogWriter {
 public:
    // Continues at `position`, in the segment that begins at `segment`.
    std::uint32_t open(int folder, const StoreId &id, std::uint64_t segment,
                       std::uint64_t position);
    // Copies a frame to the end of the log, in a new segment if it doesn't fit. Publishing the
    // new position is the caller's. Error: nothing has changed.
    std::uint32_t append(std::span<const char> frame);
    std::uint64_t position() const { return position_; }
    std::uint64_t segment() const { return segment_.first(); }

 private:
    int folder_ = -1;
    StoreId id_{};
    Segment segment_;
    std::uint64_t position_ = 0;
};

// Reads frames in order.
class LogReader {
 public:
    std::uint32_t open(int folder, const StoreId &id, std::uint64_t segment, std::uint64_t position,
                       std::uint64_t next_sequence);
    // The next frame, checked, if it ends at `published` or before; valid until the next call.
    // Returns 0; ENODATA the position is `published`; ENOENT the segment was removed: a newer
    // checkpoint contains its frames; EBADMSG the log is damaged, and `what` says how.
    std::uint32_t next(std::uint64_t published, std::span<const char> &frame);
    std::uint64_t position() const { return position_; }
    std::uint64_t segment() const { return segment_.first(); }
    std::uint64_t next_sequence() const { return next_sequence_; }
    const char *what() const { return what_; }

 private:
    int folder_ = -1;
    StoreId id_{};
    Segment segment_;
    std::uint64_t position_ = 0;
    std::uint64_t next_sequence_ = 1;
    const char *what_ = "";
};

// Removes the segments that end at `position` or before, except the one that begins at
// `keep`, and segments that a process was making when it ended.
void remove_segments(int folder, std::uint64_t position, std::uint64_t keep);

}  // namespace tarnbase::runtime

#endif
