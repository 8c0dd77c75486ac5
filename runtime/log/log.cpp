/* SPDX-License-Identifier: Apache-2.0 */
#include "runtime/log/log.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "runtime/log/frame.h"

namespace tarnbase::runtime {

namespace {

constexpr int end_mark_byte = 0xff;

// A process that commits less makes no segment ahead.
constexpr std::uint64_t least_appended = 16 << 10;

// A frame can't begin like this: no sequence number is so high.
bool is_end_mark(std::span<const char> bytes) {
    return std::all_of(bytes.begin(), bytes.begin() + end_mark_bytes,
                       [](char byte) { return byte == static_cast<char>(end_mark_byte); });
}

}  // namespace

std::uint32_t LogWriter::open(int folder, const StoreId &id, std::uint64_t segment,
                              std::uint64_t position) {
    // As long as no frame of a segment is published, its file may be replaced, also by a writer
    // that died after that: a first frame may not fit in it.
    const bool same =
        segment_.first() == segment && folder_ == folder && id_ == id && position_ > segment;
    if (!same || !segment_.contains(position)) {
        Segment opened;
        std::uint32_t error = opened.open(folder, id, segment, true);
        if (error == 0 && !opened.contains(position)) error = EBADMSG;
        if (error == 0) error = opened.prepare(position, end_mark_bytes);
        if (error != 0) return error;
        segment_ = std::move(opened);
        folder_ = folder;
        id_ = id;
    }
    position_ = position;
    return 0;
}

bool LogWriter::has_space(std::uint64_t bytes) const {
    return segment_.from(position_).size() >= bytes + end_mark_bytes;
}

std::uint32_t LogWriter::append(std::span<const char> frame) {
    if (frame.size() > most_frame_bytes) return EFBIG;
    return has_space(frame.size()) ? append_here(frame) : append_to_next(frame, usual_bytes());
}

std::uint32_t LogWriter::append_to_new(std::span<const char> frame) {
    return append_to_next(frame, first_segment_bytes);
}

std::uint32_t LogWriter::append_here(std::span<const char> frame) {
    const std::uint32_t error = segment_.prepare(position_, frame.size() + end_mark_bytes);
    if (error != 0) return error;
    std::memcpy(segment_.from(position_).data(), frame.data(), frame.size());
    position_ += frame.size();
    const bool had_enough = appended_ >= least_appended;
    appended_ += frame.size();
    Segment none;
    if (!had_enough) make_next(none);
    return 0;
}

void LogWriter::make_next(Segment &old) {
    if (appended_ < least_appended) return;
    next_.make(folder_, usual_bytes(), old);
    // Short segments are full before the worker has got a large page for the store.
    if (is_store_small()) after_next_.make(folder_, usual_bytes(), old);
}

bool LogWriter::take_next(std::uint64_t least, std::uint64_t most, Segment &taken) {
    return next_.take(folder_, id_, position_, least, most, taken) ||
           after_next_.take(folder_, id_, position_, least, most, taken);
}

// Begins the next segment with a frame. The worker unmaps the old one: both hold a lock of the
// kernel's, and the worker may hold it for long.
std::uint32_t LogWriter::append_to_next(std::span<const char> frame, std::uint64_t usual) {
    const std::uint64_t needed = segment_head_bytes + frame.size() + end_mark_bytes;
    Segment next;
    std::uint32_t error = segment_.prepare(position_, end_mark_bytes);
    if (error != 0) return error;
    const std::uint64_t most = std::max(usual, needed);
    if (take_next(needed, most, next)) {
        std::memcpy(next.from(position_).data(), frame.data(), frame.size());
    } else {
        error = next.create(folder_, id_, position_, most, frame);
        if (error == ENOSPC || error == EFBIG)
            error = next.create(folder_, id_, position_, needed, frame);
    }
    if (error != 0) return error;
    std::memset(segment_.from(position_).data(), end_mark_byte, end_mark_bytes);
    std::swap(segment_, next);
    position_ += frame.size();
    appended_ += frame.size();
    make_next(next);
    return 0;
}

std::uint32_t LogReader::open(int folder, const StoreId &id, std::uint64_t segment,
                              std::uint64_t position, std::uint64_t next_sequence) {
    folder_ = folder;
    id_ = id;
    position_ = position;
    next_sequence_ = next_sequence;
    first_ = segment;
    segment_ = {};
    return open_segment(segment);
}

void LogReader::skip_to(const LogWriter &writer, std::uint64_t next_sequence) {
    first_ = writer.segment();
    position_ = writer.position();
    next_sequence_ = next_sequence;
}

std::uint32_t LogReader::next(std::uint64_t published, std::span<const char> &frame) {
    if (published == position_) return ENODATA;
    if (published < position_) return damaged("the published position is before a frame");
    std::uint32_t error = 0;
    if (segment_.first() != first_ || !segment_.contains(position_)) error = open_segment(first_);
    if (error == 0 && is_end_mark(segment_.from(position_))) error = open_segment(position_);
    if (error != 0) return error;

    std::span<const char> rest = segment_.from(position_);
    rest = rest.first(std::min(rest.size() - end_mark_bytes, published - position_));
    const char *wrong = check_frame(rest, next_sequence_);
    if (wrong != nullptr) return damaged(wrong);
    FrameHead head;
    std::memcpy(&head, rest.data(), sizeof head);
    frame = rest.first(head.length);
    position_ += head.length;
    ++next_sequence_;
    return 0;
}

// Opens the segment that contains the position.
std::uint32_t LogReader::open_segment(std::uint64_t first) {
    Segment opened;
    const std::uint32_t error = opened.open(folder_, id_, first, false);
    if (error == EBADMSG) return damaged(opened.what());
    if (error != 0) return error;
    if (!opened.contains(position_)) return damaged("a log segment has no frame at a position");
    segment_ = std::move(opened);
    first_ = first;
    return 0;
}

std::uint32_t LogReader::damaged(const char *what) {
    what_ = what;
    return EBADMSG;
}

}  // namespace tarnbase::runtime
