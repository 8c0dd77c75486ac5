// SPDX-License-Identifier: Apache-2.0
// Writes a checkpoint.
#include <unistd.h>

#include <vector>

#include "runtime/base/byte_order.h"
#include "runtime/base/file_io.h"
#include "runtime/base/working_file.h"
#include "runtime/checkpoint/checkpoint_format.h"
#include "runtime/log/crc32c.h"

namespace tarnbase::runtime {

namespace {

std::uint32_t set_size(int file, std::uint64_t bytes) {
    while (::ftruncate(file, static_cast<off_t>(bytes)) != 0) {
        if (errno != EINTR) return error_number();
    }
    return 0;
}

// Writes a page that isn't zero, and computes its checksum.
std::uint32_t write_page(int file, std::span<const char> page, std::uint64_t offset,
                         std::uint32_t &checksum) {
    bool is_empty = true;
    for (std::uint64_t at = 0; is_empty && at < page.size(); at += hole_bytes) {
        is_empty = is_zero(page.subspan(at, hole_bytes));
    }
    checksum = is_empty ? zero_page_checksum() : crc32c(page);
    return is_empty ? 0 : write_fully(file, page, offset);
}

// The same, leaving holes in the page.
std::uint32_t write_front_page(int file, std::span<const char> page, std::uint64_t offset,
                               std::uint32_t &checksum) {
    bool is_empty = true;
    for (std::uint64_t at = 0; at < page.size();) {
        std::uint64_t end = at;
        while (end < page.size() && !is_zero(page.subspan(end, hole_bytes))) end += hole_bytes;
        if (end > at) {
            is_empty = false;
            const std::uint32_t error = write_fully(file, page.subspan(at, end - at), offset + at);
            if (error != 0) return error;
        }
        at = end + hole_bytes;
    }
    checksum = is_empty ? zero_page_checksum() : crc32c(page);
    return 0;
}

std::uint32_t write_image(int file, const CheckpointHead &head, std::span<const char> image,
                          std::span<std::uint32_t> checksums,
                          std::atomic<std::uint64_t> *progress) {
    const std::uint64_t front = front_of(head);
    for (std::uint64_t i = 0; i < checksums.size(); ++i) {
        const std::uint64_t at = i * image_page_bytes;
        if (progress != nullptr) progress->fetch_add(1, std::memory_order_relaxed);
        const auto write = at < front ? write_front_page : write_page;
        const std::uint32_t error =
            write(file, image.subspan(at, image_page_bytes), head.image_offset + at, checksums[i]);
        if (error != 0) return error;
    }
    return 0;
}

// Writes the table of checksums and the head.
std::uint32_t write_front(int file, CheckpointHead &head,
                          std::span<const std::uint32_t> checksums) {
    const std::span<const char> table{reinterpret_cast<const char *>(checksums.data()),
                                      checksums.size_bytes()};
    head.pages_crc = crc32c(table);
    head.crc = head_checksum(head);
    if (const std::uint32_t error = write_fully(file, table, table_offset)) return error;
    return write_fully(file, {reinterpret_cast<const char *>(&head), sizeof head}, 0);
}

}  // namespace

std::uint32_t write_checkpoint(int folder, CheckpointHead head, std::span<const char> image,
                               std::atomic<std::uint64_t> *progress, bool is_durable) {
    head.magic = checkpoint_magic;
    head.version = checkpoint_format_version;
    head.byte_order = native_byte_order;
    head.image_bytes = image.size();
    head.image_offset = image_offset_for(image.size());
    if (!wrong_number(head).empty()) return EINVAL;
    const std::uint64_t file_bytes = head.image_offset + head.image_bytes;
    if (is_above_file_limit(file_bytes)) return EFBIG;

    std::vector<std::uint32_t> checksums(image.size() / image_page_bytes);
    WorkingFile working(folder);
    if (const std::uint32_t error = working.create(checkpoint_name(head.position))) return error;
    const int file = working.descriptor();
    if (const std::uint32_t error = set_size(file, file_bytes)) return error;
    if (const std::uint32_t error = write_image(file, head, image, checksums, progress)) {
        return error;
    }
    if (const std::uint32_t error = write_front(file, head, checksums)) return error;
    if (is_durable && ::fsync(file) != 0) return error_number();
    if (const std::uint32_t error = working.rename()) return error;
    return !is_durable || ::fsync(folder) == 0 ? 0 : error_number();
}

}  // namespace tarnbase::runtime
