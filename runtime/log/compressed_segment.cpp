/* SPDX-License-Identifier: Apache-2.0 */
#include "runtime/log/compressed_segment.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <zstd.h>

#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

#include "runtime/base/file_io.h"
#include "runtime/base/working_file.h"
#include "runtime/log/crc32c.h"
#include "runtime/log/segment.h"
#include "runtime/log/segment_files.h"

namespace tarnbase::runtime {

namespace {

// A higher level takes a multiple of the time for a few percent less at most.
constexpr int compression_level = 1;

constexpr char skipped_frame[] = {0x5e, 0x2a, 0x4d, 0x18, 56, 0, 0, 0};
constexpr char compressed_magic[] = {'T', 'A', 'R', 'N', 'L', 'O', 'G', 'Z'};

struct CompressedHead {
    char skipped[8];
    char magic[8];
    std::uint64_t first;
    StoreId id;
    std::uint32_t segment_bytes;
    std::uint32_t bytes;
    std::uint32_t bytes_crc;
    std::uint32_t crc;
    char reserved[8];
};
static_assert(sizeof(CompressedHead) == compressed_head_bytes);

std::uint32_t compressed_head_crc(const CompressedHead &head) {
    return crc32c({reinterpret_cast<const char *>(&head), offsetof(CompressedHead, crc)});
}

CompressedHead compressed_head_of(const StoreId &id, std::uint64_t position,
                                  std::uint64_t segment_bytes, std::span<const char> content) {
    CompressedHead head{};
    std::memcpy(head.skipped, skipped_frame, sizeof skipped_frame);
    std::memcpy(head.magic, compressed_magic, sizeof compressed_magic);
    head.first = position;
    head.id = id;
    head.segment_bytes = static_cast<std::uint32_t>(segment_bytes);
    head.bytes = static_cast<std::uint32_t>(content.size());
    head.bytes_crc = crc32c(content);
    head.crc = compressed_head_crc(head);
    return head;
}

// What is wrong with the head of a file of that many bytes; null if nothing is.
const char *check_compressed_head(const CompressedHead &head, const StoreId &id,
                                  std::uint64_t position, std::uint64_t file_bytes) {
    if (std::memcmp(head.skipped, skipped_frame, sizeof skipped_frame) != 0 ||
        std::memcmp(head.magic, compressed_magic, sizeof compressed_magic) != 0) {
        return "a compressed log segment has a wrong magic";
    }
    if (head.crc != compressed_head_crc(head))
        return "a compressed log segment's head has a wrong checksum";
    if (head.id != id) return "a compressed log segment belongs to another store";
    if (head.first != position) {
        return "a compressed log segment has another position than its name";
    }
    if (head.segment_bytes < first_segment_bytes || head.segment_bytes > most_expanded_bytes ||
        head.bytes > ZSTD_compressBound(head.segment_bytes) ||
        file_bytes != sizeof head + head.bytes) {
        return "a compressed log segment has a wrong length";
    }
    return nullptr;
}

// Whether the content is one frame of the present format that has `size` bytes. zstd reads frames
// of older formats, too, and several one after another.
bool is_one_frame(std::span<const char> content, std::uint64_t size) {
    constexpr char frame_magic[] = {0x28, static_cast<char>(0xb5), 0x2f, static_cast<char>(0xfd)};
    return content.size() >= sizeof frame_magic &&
           std::memcmp(content.data(), frame_magic, sizeof frame_magic) == 0 &&
           ZSTD_getFrameContentSize(content.data(), content.size()) == size &&
           ZSTD_findFrameCompressedSize(content.data(), content.size()) == content.size();
}

// Null: there is no memory.
std::unique_ptr<char[]> allocate_bytes(std::size_t size) {
    return std::unique_ptr<char[]>(new (std::nothrow) char[size]);
}

}  // namespace

void SegmentCompressor::Free::operator()(ZSTD_CCtx_s *context) const { ZSTD_freeCCtx(context); }

SegmentCompressor::SegmentCompressor() : context_(ZSTD_createCCtx()) {}

std::uint32_t SegmentCompressor::write(int folder, const StoreId &id, std::uint64_t position,
                                       std::span<const char> segment) {
    const std::size_t most = ZSTD_compressBound(segment.size());
    const std::unique_ptr<char[]> bytes = allocate_bytes(most);
    if (context_ == nullptr || bytes == nullptr) return ENOMEM;
    const std::size_t used = ZSTD_compressCCtx(context_.get(), bytes.get(), most, segment.data(),
                                               segment.size(), compression_level);
    if (ZSTD_isError(used) != 0) return ENOMEM;
    if (is_above_file_limit(compressed_head_bytes + used)) return EFBIG;
    const std::span<const char> content(bytes.get(), used);
    const CompressedHead head = compressed_head_of(id, position, segment.size(), content);

    WorkingFile working(folder);
    std::uint32_t error = working.create(compressed_segment_name(position));
    const int file = working.descriptor();
    if (error == 0) {
        error = write_fully(file, {reinterpret_cast<const char *>(&head), sizeof head}, 0);
    }
    if (error == 0) error = write_fully(file, content, sizeof head);
    if (error == 0 && ::fsync(file) != 0) error = error_number();
    return error == 0 ? working.rename() : error;
}

std::uint32_t CompressedSegment::open(int folder, const StoreId &id, std::uint64_t position) {
    constexpr int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    file_ = File(::openat(folder, compressed_segment_name(position).c_str(), flags));
    if (!file_.is_open()) return error_number();
    struct stat status {};
    if (::fstat(file_.descriptor(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return damaged("a compressed log segment is no regular file");
    }
    CompressedHead head;
    if (read_fully(file_.descriptor(), {reinterpret_cast<char *>(&head), sizeof head}, 0) != 0) {
        return damaged("a compressed log segment is cut short");
    }
    const char *wrong =
        check_compressed_head(head, id, position, static_cast<std::uint64_t>(status.st_size));
    if (wrong != nullptr) return damaged(wrong);
    segment_bytes_ = head.segment_bytes;
    bytes_ = head.bytes;
    crc_ = head.bytes_crc;
    return 0;
}

std::uint32_t CompressedSegment::expand(std::span<char> into) {
    const std::unique_ptr<char[]> bytes = allocate_bytes(bytes_);
    if (bytes == nullptr) return ENOMEM;
    const std::span<char> content(bytes.get(), bytes_);
    const std::uint32_t error = read_fully(file_.descriptor(), content, compressed_head_bytes);
    if (error == ENODATA) return damaged("a compressed log segment is cut short");
    if (error != 0) return error;
    if (crc32c(content) != crc_) return damaged("a compressed log segment has a wrong checksum");
    if (!is_one_frame(content, into.size()) ||
        ZSTD_decompress(into.data(), into.size(), content.data(), content.size()) != into.size()) {
        return damaged("a compressed log segment can't be expanded");
    }
    return 0;
}

std::uint32_t CompressedSegment::damaged(const char *what) {
    what_ = what;
    return EBADMSG;
}

}  // namespace tarnbase::runtime
