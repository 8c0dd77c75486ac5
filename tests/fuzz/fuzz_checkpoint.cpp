// SPDX-License-Identifier: Apache-2.0
// Opens and checks a checkpoint file made of pieces. One without a fault must be the file that
// write_checkpoint makes of its head and image.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "runtime/base/file_io.h"
#include "runtime/checkpoint/checkpoint.h"
#include "runtime/checkpoint/checkpoint_format.h"
#include "runtime/log/crc32c.h"
#include "tests/fuzz/folder.h"
#include "tests/fuzz/input.h"
#include "tests/fuzz/round.h"
#include "tests/fuzz/store_pieces.h"

namespace tarnbase::fuzz {

namespace {

using runtime::Checkpoint;
using runtime::CheckpointHead;
using runtime::File;

File open_file(int folder, u64 position, int flags) {
    return File(
        ::openat(folder, runtime::checkpoint_name(position).c_str(), flags | O_CLOEXEC, 0600));
}

void make_file(const File &file, Pieces &pieces) {
    require(::ftruncate(file.descriptor(), static_cast<off_t>(pieces.file_bytes())) == 0,
            "a file can be made");
    for (Piece piece; pieces.next(piece);) {
        const std::span<const char> bytes(reinterpret_cast<const char *>(piece.bytes.data()),
                                          piece.bytes.size());
        require(runtime::write_fully(file.descriptor(), bytes, piece.offset) == 0,
                "a file can be written");
    }
}

std::vector<char> content_of(const File &file) {
    struct stat status {};
    require(::fstat(file.descriptor(), &status) == 0, "a file has a size");
    std::vector<char> bytes(static_cast<std::size_t>(status.st_size));
    require(runtime::read_fully(file.descriptor(), bytes, 0) == 0, "a file can be read");
    return bytes;
}

// Makes checksums right, so that what they protect is tested.
void repair(const File &file, u8 which) {
    std::vector<char> bytes = content_of(file);
    CheckpointHead head;
    if (bytes.size() < runtime::table_offset) return;
    std::memcpy(&head, bytes.data(), sizeof head);
    const u64 pages = head.image_bytes / runtime::image_page_bytes;
    const u64 table_end = runtime::table_offset + pages * sizeof(u32);
    const bool fits = head.image_bytes <= bytes.size() &&
                      head.image_offset <= bytes.size() - head.image_bytes &&
                      table_end <= bytes.size();
    if (fits && (which & repair_pages) != 0) {
        for (u64 i = 0; i < pages; ++i) {
            const u64 at = head.image_offset + i * runtime::image_page_bytes;
            const u32 crc = runtime::crc32c({&bytes[at], runtime::image_page_bytes});
            std::memcpy(&bytes[runtime::table_offset + i * sizeof crc], &crc, sizeof crc);
        }
    }
    if (fits && (which & repair_table) != 0) {
        head.pages_crc =
            runtime::crc32c({bytes.data() + runtime::table_offset, pages * sizeof(u32)});
    }
    if ((which & repair_head) != 0) head.crc = runtime::head_checksum(head);
    std::memcpy(bytes.data(), &head, sizeof head);
    // Not the image, whose holes stay.
    const std::span<const char> front(bytes.data(), fits ? table_end : sizeof head);
    require(runtime::write_fully(file.descriptor(), front, 0) == 0, "a file can be written");
}

bool is_right(Checkpoint &checkpoint, int folder) {
    u32 error = checkpoint.open(folder, seed_id, seed_position);
    if (error == 0) error = checkpoint.check_image();
    require(error == 0 || error == EBADMSG || error == EINVAL, "a bad file has its own errors");
    require((error == 0) == checkpoint.what().empty(), "an error has a text");
    return error == 0;
}

// Writes what was read. The format leaves no choice.
void write_again(const Checkpoint &checkpoint, const Folder &folder, const File &file) {
    const CheckpointHead &head = checkpoint.head();
    const std::vector<char> bytes = content_of(file);
    require(head.image_offset + head.image_bytes == bytes.size(), "an image ends with its file");
    const std::span<const char> image(bytes.data() + head.image_offset, head.image_bytes);
    runtime::remove_checkpoints(folder.descriptor(), seed_position + 1);
    require(runtime::write_checkpoint(folder.descriptor(), head, image) == 0,
            "a checkpoint can be written again");
    const File again = open_file(folder.descriptor(), seed_position, O_RDONLY);
    require(content_of(again) == bytes, "a checkpoint has one form");
}

}  // namespace

void fuzz_checkpoint(Bytes bytes) {
    static const Folder folder;
    Input input(bytes);
    const u8 repairs = input.byte();
    const Buffer rest = input.rest();
    Pieces pieces({rest.data(), rest.size()});
    const File file = open_file(folder.descriptor(), seed_position, O_RDWR | O_CREAT | O_TRUNC);
    make_file(file, pieces);
    repair(file, repairs);
    Checkpoint checkpoint;
    if (is_right(checkpoint, folder.descriptor())) write_again(checkpoint, folder, file);
    runtime::remove_checkpoints(folder.descriptor(), seed_position + 1);
}

}  // namespace tarnbase::fuzz
