// SPDX-License-Identifier: Apache-2.0
#include "runtime/check/journal.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "runtime/check/operations.h"
#include "runtime/checkpoint/checkpoint.h"
#include "runtime/control/journal_settings.h"
#include "runtime/log/frame.h"
#include "runtime/log/segment_files.h"

namespace tarnbase::runtime {

namespace {

using Number = unsigned long long;

class JournalCheck {
 public:
    JournalCheck(const StoreFolder &store, Findings &findings)
        : folder_(store.folder.descriptor()),
          control_(store.control.page()),
          findings_(findings),
          newest_(control_.checkpoint.load()) {}

    void run() {
        for (const CheckpointEntry &each : list_checkpoints(folder_)) {
            if (each.position <= newest_) check_checkpoint(each.position);
        }
        if (heads_.empty() || heads_.back().position != newest_) return;
        const CheckpointHead &oldest = heads_.front();
        std::uint32_t error =
            log_.open(folder_, control_.id, oldest.segment, oldest.position, oldest.sequence + 1);
        while (read(error)) {
            const std::optional<std::uint64_t> next = later_segment();
            if (!next) return;
            error = log_.open(folder_, control_.id, *next, *next, sequence_at(*next));
        }
    }

 private:
    // The newest one's content is checked with the log after it.
    void check_checkpoint(std::uint64_t position) {
        Checkpoint checkpoint;
        std::uint32_t error = checkpoint.open(folder_, control_.id, position);
        if (error == 0) {
            heads_.push_back(checkpoint.head());
            if (position != newest_) error = checkpoint.check_image();
        }
        if (error == 0 || error == ENOENT || position == newest_) return;
        findings_.add("the journal", "%s", checkpoint.what().c_str());
    }

    // Checks the log from where it was opened. False: nothing is left to check. Else it is damaged,
    // which was reported.
    bool read(std::uint32_t error) {
        std::span<const char> frame;
        while (error == 0 && log_.position() < newest_) {
            const std::uint64_t position = log_.position();
            error = log_.next(newest_, frame);
            if (error != 0) break;
            check_operations(frame, position, heads_.back().capacity, "the journal", findings_);
            check_sequence();
        }
        if (error == 0 || was_removed(error)) return false;
        report(error);
        return true;
    }

    // A checkpoint and the log name the same transaction at the same position.
    void check_sequence() {
        const auto here = std::ranges::find(heads_, log_.position(), &CheckpointHead::position);
        if (here == heads_.end() || here->sequence + 1 == log_.next_sequence()) return;
        findings_.add(checkpoint_name(here->position),
                      "it contains transaction %llu, but the log up to it ends with %llu",
                      static_cast<Number>(here->sequence),
                      static_cast<Number>(log_.next_sequence() - 1));
    }

    // Whether a writer has removed that part of the journal meanwhile.
    bool was_removed(std::uint32_t error) const {
        if (error != ENOENT) return false;
        const std::vector<CheckpointEntry> left = list_checkpoints(folder_);
        return !left.empty() && left.front().position > log_.position();
    }

    void report(std::uint32_t error) {
        const char *what = error == EBADMSG  ? log_.what()
                           : error == ENOENT ? "the file is missing"
                                             : std::strerror(static_cast<int>(error));
        findings_.add(name_of(log_.failed_segment()), "from transaction %llu on: %s",
                      static_cast<Number>(log_.next_sequence()), what);
    }

    // The next file of the log after the one that can't be read.
    std::optional<std::uint64_t> later_segment() const {
        for (const SegmentFile &each : list_segments(folder_)) {
            if (each.first > log_.failed_segment() && each.first < newest_) return each.first;
        }
        return std::nullopt;
    }

    // The number of a segment's first frame; if it can't be read, the next one.
    std::uint64_t sequence_at(std::uint64_t first) const {
        Segment segment;
        FrameHead head{};
        if (segment.open(folder_, control_.id, first, false) == 0) {
            std::memcpy(&head, segment.from(first).data(), sizeof head);
        }
        return std::max(head.sequence, log_.next_sequence());
    }

    std::string name_of(std::uint64_t segment) const {
        for (const SegmentFile &each : list_segments(folder_)) {
            if (each.first == segment && !each.is_plain) return compressed_segment_name(segment);
        }
        return segment_name(segment);
    }

    const int folder_;
    const ControlPage &control_;
    Findings &findings_;
    const std::uint64_t newest_;
    std::vector<CheckpointHead> heads_;  // in increasing order of their positions
    LogReader log_;
};

}  // namespace

void check_journal(const StoreFolder &store, Findings &findings) {
    kel_journal_settings settings{};
    const std::uint32_t error =
        load_journal_settings(store.folder.descriptor(), store.control.page().id, settings);
    if (error != 0) {
        findings.add("the journal", "its settings can't be read: %s",
                     std::strerror(static_cast<int>(error)));
    } else if (settings.enabled != KEL_JOURNAL_OFF) {
        JournalCheck(store, findings).run();
    }
}

}  // namespace tarnbase::runtime
