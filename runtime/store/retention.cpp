// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/retention.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "runtime/base/clock.h"
#include "runtime/control/journal_settings.h"
#include "runtime/log/compression.h"
#include "runtime/log/segment_files.h"

namespace tarnbase::runtime {

namespace {

constexpr std::uint64_t second = 1'000'000'000;
constexpr std::uint64_t least_distance = 1 << 20;

// An older checkpoint with the log that leads to the next one.
struct Epoch {
    std::uint64_t position;
    std::uint64_t segment;
    std::uint64_t disk_bytes;  // of the checkpoint
    std::uint64_t end_time;    // when the next checkpoint was written
};

// The bytes on disk of the segments in [from, to).
std::uint64_t bytes_between(const std::vector<SegmentFile> &segments, std::uint64_t from,
                            std::uint64_t to) {
    std::uint64_t bytes = 0;
    for (const SegmentFile &each : segments) {
        if (each.first >= from && each.first < to) bytes += each.disk_bytes;
    }
    return bytes;
}

// The log between two checkpoints: its length, or what it takes on disk if it is compressed.
std::uint64_t distance_between(const Epoch &before, const CheckpointHead &head,
                               const std::vector<SegmentFile> &segments, bool is_compressed) {
    return is_compressed ? bytes_between(segments, before.segment, head.segment)
                         : head.position - before.position;
}

// Removes checkpoints that are close to the one before. One that can't be read is removed, too.
std::vector<Epoch> thin_out(StoreFolder &store, std::uint64_t newest,
                            const std::vector<SegmentFile> &segments, bool is_compressed) {
    const int folder = store.folder.descriptor();
    std::vector<Epoch> epochs;
    std::uint64_t distance = 0;  // that the next one has to have
    for (const CheckpointEntry &each : list_checkpoints(folder)) {
        if (!epochs.empty()) epochs.back().end_time = each.time;
        if (each.position >= newest) break;
        Checkpoint checkpoint;
        const bool is_kept =
            checkpoint.open(folder, store.control.page().id, each.position) == 0 &&
            (epochs.empty() || distance_between(epochs.back(), checkpoint.head(), segments,
                                                is_compressed) >= distance);
        if (is_kept) {
            epochs.push_back({each.position, checkpoint.head().segment, each.disk_bytes, 0});
            distance = std::max(each.disk_bytes, least_distance);
        } else {
            remove_checkpoint(folder, each.position);
        }
    }
    return epochs;
}

// How many of the oldest epochs are too much.
std::size_t count_dropped(const std::vector<Epoch> &epochs, const kel_journal_settings &settings,
                          const std::vector<SegmentFile> &segments, std::uint64_t segment) {
    const std::uint64_t most =
        settings.keep_bytes != 0 ? settings.keep_bytes : std::numeric_limits<std::uint64_t>::max();
    const std::uint64_t now = coarse_time();
    const std::uint64_t oldest = settings.keep_seconds != 0 && settings.keep_seconds < now / second
                                     ? now - settings.keep_seconds * second
                                     : 0;
    std::uint64_t bytes = 0;
    std::uint64_t end = segment;
    std::size_t kept = 0;
    while (kept < epochs.size()) {
        const Epoch &epoch = epochs[epochs.size() - 1 - kept];
        bytes += epoch.disk_bytes + bytes_between(segments, epoch.segment, end);
        if (bytes > most || epoch.end_time < oldest) break;
        end = epoch.segment;
        ++kept;
    }
    return epochs.size() - kept;
}

}  // namespace

void remove_old_files(StoreFolder &store, const kel_journal_settings &settings,
                      std::uint64_t position, std::uint64_t segment) {
    const int folder = store.folder.descriptor();
    remove_working_settings(folder);
    if (settings.enabled == KEL_JOURNAL_OFF) {
        remove_checkpoints(folder, position);
        remove_segments(folder, position, segment);
        return;
    }
    remove_working_checkpoints(folder);
    ControlPage &page = store.control.page();
    const bool is_compressed = settings.enabled == KEL_JOURNAL_COMPRESSED;
    if (is_compressed) compress_segments(folder, page.id, segment, page.checkpoint_progress);
    const std::vector<SegmentFile> segments = list_segments(folder);
    const std::vector<Epoch> epochs = thin_out(store, position, segments, is_compressed);
    const std::size_t dropped = count_dropped(epochs, settings, segments, segment);
    const bool keeps_some = dropped < epochs.size();
    remove_checkpoints(folder, keeps_some ? epochs[dropped].position : position);
    const std::uint64_t oldest = keeps_some ? epochs[dropped].segment : segment;
    remove_segments(folder, oldest, oldest);
}

bool give_up_history(StoreFolder &store) {
    const int folder = store.folder.descriptor();
    ControlPage &page = store.control.page();
    const std::uint64_t newest = page.checkpoint.load();
    Checkpoint checkpoint;
    if (checkpoint.open(folder, page.id, newest) != 0) return false;
    const std::uint64_t segment = checkpoint.head().segment;
    const auto checkpoints = list_checkpoints(folder);
    const auto segments = list_segments(folder);
    const bool has_some = (!checkpoints.empty() && checkpoints.front().position < newest) ||
                          (!segments.empty() && segments.front().first < segment);
    if (!has_some) return false;
    for (const CheckpointEntry &each : checkpoints) {
        if (each.position < newest) remove_checkpoint(folder, each.position);
    }
    remove_segments(folder, newest, segment);
    page.gap.store(newest);
    page.gap_time.store(coarse_time());
    return true;
}

}  // namespace tarnbase::runtime
