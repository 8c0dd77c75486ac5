/* SPDX-License-Identifier: Apache-2.0 */
#include "runtime/log/compression.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "runtime/base/file_io.h"
#include "runtime/base/working_file.h"
#include "runtime/log/compressed_segment.h"
#include "runtime/log/segment.h"
#include "runtime/log/segment_files.h"

namespace tarnbase::runtime {

namespace {

// The folder is written to the disk once for so many segments.
constexpr std::size_t segments_at_once = 64;

std::uint32_t compress_segment(SegmentCompressor &compressor, int folder, const StoreId &id,
                               std::uint64_t position) {
    Segment segment;
    if (const std::uint32_t error = segment.open(folder, id, position, false)) return error;
    if (segment.size() > most_expanded_bytes) return EFBIG;
    return compressor.write(folder, id, position, segment.file());
}

// Removes the plain form of segments whose compressed form has its name.
void remove_plain(int folder, std::vector<std::uint64_t> &segments) {
    if (!segments.empty() && ::fsync(folder) == 0) {
        for (const std::uint64_t first : segments) {
            ::unlinkat(folder, segment_name(first).c_str(), 0);
        }
    }
    segments.clear();
}

}  // namespace

void compress_segments(int folder, const StoreId &id, std::uint64_t end,
                       std::atomic<std::uint64_t> &progress) {
    remove_working_compressed(folder);
    SegmentCompressor compressor;
    std::vector<std::uint64_t> compressed;
    for (const SegmentFile &each : list_segments(folder)) {
        if (each.first >= end) break;
        if (!each.is_plain) continue;
        progress.fetch_add(1, std::memory_order_relaxed);
        const std::uint32_t error = compress_segment(compressor, folder, id, each.first);
        if (error == ENOSPC || error == EDQUOT) break;
        if (error == 0) compressed.push_back(each.first);
        if (compressed.size() == segments_at_once) remove_plain(folder, compressed);
    }
    remove_plain(folder, compressed);
}

std::uint32_t restore_segment(int folder, const StoreId &id, std::uint64_t position) {
    const std::string name = segment_name(position);
    if (::faccessat(folder, name.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0) return 0;
    Segment segment;
    std::uint32_t error = segment.open(folder, id, position, false);
    WorkingFile working(folder);
    if (error == 0) error = working.create(name);
    if (error == 0) error = write_fully(working.descriptor(), segment.file(), 0);
    if (error == 0 && ::fsync(working.descriptor()) != 0) error = error_number();
    return error == 0 ? working.rename() : error;
}

}  // namespace tarnbase::runtime
