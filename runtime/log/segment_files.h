/* SPDX-License-Identifier: Apache-2.0 */
// The files of a store's log in its folder: their names, lists of them, their removal.
#ifndef TARNBASE_RUNTIME_LOG_SEGMENT_FILES_H
#define TARNBASE_RUNTIME_LOG_SEGMENT_FILES_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarnbase::runtime {

// log-POSITION, and log-POSITION.zst for a segment that is compressed.
std::string segment_name(std::uint64_t position);
std::string compressed_segment_name(std::uint64_t position);

// A segment that isn't complete. Only the process with the writer's lock makes one, so one name is
// enough. `remove_segments` may remove it at any time: its maker starts again.
inline constexpr const char *working_segment_name = "log-new";

// Whether a name in a store's folder is that of a segment, or of one that isn't complete.
bool is_log_file(std::string_view name);

// A segment's files, as the folder lists them. If there are both, only the plain one counts.
struct SegmentFile {
    std::uint64_t first;
    std::uint64_t disk_bytes;  // of both
    bool is_plain;
    bool is_compressed;
};

// The segments of a store in increasing order. One that a dead writer left may be among them.
std::vector<SegmentFile> list_segments(int folder);

// Writes to the disk what the log has in [from, to): the segments, and their names. Returns 0 or an
// errno number.
std::uint32_t sync_segments(int folder, std::uint64_t from, std::uint64_t to);

// Removes the segments that begin after `position`, a compressed one that begins there, and those
// that aren't complete. Requires: the segment that begins there is plain.
void remove_later_segments(int folder, std::uint64_t position);

// Removes the segments that end at `position` or before, those that a dead writer left before
// it, and those that aren't complete. `keep` is the segment of `position`.
void remove_segments(int folder, std::uint64_t position, std::uint64_t keep);

// Removes compressed segments that aren't complete.
void remove_working_compressed(int folder);

}  // namespace tarnbase::runtime

#endif
