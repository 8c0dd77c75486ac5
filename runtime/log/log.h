/* SPDX-License-Identifier: Apache-2.0 */
// The log of a store: frames one after another, in segments (segment.h). A position counts bytes
// of frames since the store was created.
//
// What is after the position that the store's control page has published is of no value: frames,
// an end mark and even the next segment may be there, of a writer that died before it published
// them. The next writer overwrites it, and no reader looks at it.
#ifndef TARNBASE_RUNTIME_LOG_LOG_H
#define TARNBASE_RUNTIME_LOG_LOG_H

#include <algorithm>
#include <bit>
#include <cstdint>
#include <span>

#include "runtime/log/next_segment.h"
#include "runtime/log/segment.h"

namespace tarnbase::runtime {

// Appends frames. One process at a time does so, the one that has the writer's lock.
class LogWriter {
 public:
    // The worker makes segments ahead, if there is one.
    explicit LogWriter(Worker *worker = nullptr) : next_(worker), after_next_(worker) {}
    // Continues at `position`, the published one, in the segment that begins at `segment`. What
    // comes after it, of a writer that died, is overwritten. Costs no system call in the segment
    // that is open.
    std::uint32_t open(int folder, const StoreId &id, std::uint64_t segment,
                       std::uint64_t position);
    // Copies a frame to the end of the log, in a new segment if it doesn't fit. Error: nothing
    // has changed. EFBIG: the frame is too long for any segment. The caller publishes the new
    // position; if it doesn't, it must close the writer.
    std::uint32_t append(std::span<const char> frame);
    // The same, in a new segment of the first size.
    std::uint32_t append_to_new(std::span<const char> frame);
    void close() { segment_ = {}; }
    bool is_open() const { return segment_.is_open(); }
    std::uint64_t position() const { return position_; }
    std::uint64_t segment() const { return segment_.first(); }
    // Whether a frame of that length is appended to the segment that is open.
    bool has_space(std::uint64_t bytes) const;
    // Whether the segment was made for a frame that needs more than the usual space.
    bool has_long_segment() const { return segment_.size() > most_bytes_; }
    // A segment of a large store takes a sixteenth of it at most. The longer it is, the sooner
    // before its end the worker begins with the next one.
    void set_store_size(std::uint64_t bytes) {
        most_bytes_ =
            std::clamp(std::bit_floor(bytes / 16), most_of_small_store, most_of_large_store);
    }
    // Whether all segments that are made ahead are ready.
    bool has_next_segments() const {
        return next_.is_ready() && (!is_store_small() || after_next_.is_ready());
    }

 private:
    std::uint64_t usual_bytes() const { return std::min(2 * segment_.size(), most_bytes_); }
    std::uint32_t append_here(std::span<const char> frame);
    bool is_store_small() const { return most_bytes_ == most_of_small_store; }
    void make_next(Segment &old);
    bool take_next(std::uint64_t least, std::uint64_t most, Segment &taken);
    std::uint32_t append_to_next(std::span<const char> frame, std::uint64_t usual);

    int folder_ = -1;
    StoreId id_{};
    Segment segment_;
    NextSegment next_;
    NextSegment after_next_;
    std::uint64_t position_ = 0;
    std::uint64_t appended_ = 0;  // bytes, by this process
    std::uint64_t most_bytes_ = most_of_small_store;
};

// Reads frames in order.
class LogReader {
 public:
    // Errors as of `Segment::open`.
    std::uint32_t open(int folder, const StoreId &id, std::uint64_t segment, std::uint64_t position,
                       std::uint64_t next_sequence);
    // Skips what this process has appended and published itself. No system call.
    void skip_to(const LogWriter &writer, std::uint64_t next_sequence);
    // The next frame, checked, if it ends at `published` or before; valid until the next call.
    // Returns 0; ENODATA the position is `published`; ENOENT the segment was removed: a newer
    // checkpoint contains its frames; EBADMSG the log is damaged, and `what` says how; or an
    // errno number. An error doesn't change the position.
    std::uint32_t next(std::uint64_t published, std::span<const char> &frame);
    std::uint64_t position() const { return position_; }
    std::uint64_t segment() const { return first_; }
    std::uint64_t next_sequence() const { return next_sequence_; }
    const char *what() const { return what_; }

 private:
    std::uint32_t damaged(const char *what);
    std::uint32_t open_segment(std::uint64_t first);

    int folder_ = -1;
    StoreId id_{};
    Segment segment_;
    std::uint64_t first_ = 0;  // of the segment that contains the position
    std::uint64_t position_ = 0;
    std::uint64_t next_sequence_ = 1;
    const char *what_ = "";
};

}  // namespace tarnbase::runtime

#endif
