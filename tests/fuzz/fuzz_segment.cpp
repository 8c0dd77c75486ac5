// SPDX-License-Identifier: Apache-2.0
// Opens a compressed segment of a log and reads its frames. One that can be expanded is the same
// after it was compressed again.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <limits>
#include <string>
#include <vector>

#include "runtime/base/file_io.h"
#include "runtime/log/compressed_segment.h"
#include "runtime/log/crc32c.h"
#include "runtime/log/log.h"
#include "runtime/log/segment_files.h"
#include "tests/fuzz/folder.h"
#include "tests/fuzz/input.h"
#include "tests/fuzz/round.h"
#include "tests/fuzz/store_pieces.h"

namespace tarnbase::fuzz {

namespace {

using runtime::compressed_head_bytes;
using runtime::Segment;

// Of the head's numbers, which compressed_segment.h describes.
constexpr std::size_t length_offset = 44, content_crc_offset = 48, head_crc_offset = 52;

void set_number(Buffer &file, std::size_t offset, u32 number) {
    std::memcpy(file.data() + offset, &number, sizeof number);
}

// Makes the length and the checksums right, so that what they protect is tested.
void repair(Buffer &file) {
    if (file.size() < compressed_head_bytes) return;
    const std::span<const char> bytes(file.text(), file.size());
    const auto content = bytes.subspan(compressed_head_bytes);
    set_number(file, length_offset, static_cast<u32>(content.size()));
    set_number(file, content_crc_offset, runtime::crc32c(content));
    set_number(file, head_crc_offset, runtime::crc32c(bytes.first(head_crc_offset)));
}

void write_segment_file(const Folder &folder, Buffer &bytes) {
    constexpr int flags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;
    const runtime::File file(::openat(
        folder.descriptor(), runtime::compressed_segment_name(seed_position).c_str(), flags, 0600));
    require(runtime::write_fully(file.descriptor(), {bytes.text(), bytes.size()}, 0) == 0,
            "a file can be written");
}

u32 open_segment(const Folder &folder, Segment &segment) {
    return segment.open(folder.descriptor(), seed_id, seed_position, false);
}

void compress_again(const Folder &folder, const Segment &segment) {
    const std::vector<char> bytes(segment.file().begin(), segment.file().end());
    runtime::SegmentCompressor compressor;
    require(compressor.write(folder.descriptor(), seed_id, seed_position, bytes) == 0,
            "a segment can be compressed again");
    Segment again;
    require(open_segment(folder, again) == 0 && std::ranges::equal(again.file(), bytes),
            "a segment that was compressed is as it was");
}

void read_frames(const Folder &folder) {
    runtime::LogReader log;
    u32 error = log.open(folder.descriptor(), seed_id, seed_position, seed_position, 1);
    std::span<const char> frame;
    while (error == 0) error = log.next(std::numeric_limits<u64>::max() / 16 * 16, frame);
    require(error == EBADMSG || error == ENOENT, "a log ends with damage or a missing file");
}

}  // namespace

void fuzz_segment(Bytes bytes) {
    static const Folder folder;
    Input input(bytes);
    const bool repairs = (input.byte() & repair_head) != 0;
    Buffer file = input.rest();
    if (repairs) repair(file);
    write_segment_file(folder, file);
    Segment segment;
    const u32 error = open_segment(folder, segment);
    require(error == 0 || error == EBADMSG, "a bad segment has its own error");
    if (error != 0) {
        require(segment.what()[0] != '\0', "an error has a text");
        return;
    }
    read_frames(folder);
    compress_again(folder, segment);
}

}  // namespace tarnbase::fuzz
