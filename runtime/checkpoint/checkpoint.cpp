// SPDX-License-Identifier: Apache-2.0
// Opens and checks a checkpoint.
#include "runtime/checkpoint/checkpoint.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "runtime/base/boot.h"
#include "runtime/base/byte_order.h"
#include "runtime/base/file_io.h"
#include "runtime/checkpoint/checkpoint_format.h"
#include "runtime/log/crc32c.h"

namespace tarnbase::runtime {

namespace {

constexpr std::uint64_t pages_at_once = 4;

std::uint64_t file_size(int file) {
    struct stat status;
    return ::fstat(file, &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

bool is_regular(int file) {
    struct stat status;
    return ::fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

std::string bytes_from(std::uint64_t offset, std::uint64_t count) {
    return "bytes " + std::to_string(offset) + " to " + std::to_string(offset + count - 1);
}

// The offset of the first byte that isn't zero, or the size.
std::size_t first_set(std::span<const char> bytes) {
    const auto found =
        std::find_if(bytes.begin(), bytes.end(), [](char byte) { return byte != 0; });
    return static_cast<std::size_t>(found - bytes.begin());
}

// The offset of the next data or hole, from `offset` on and up to `end`.
std::uint64_t seek(int file, std::uint64_t offset, int what, std::uint64_t end) {
    const off_t found = ::lseek(file, static_cast<off_t>(offset), what);
    if (found >= 0) return std::min(static_cast<std::uint64_t>(found), end);
    // ENXIO: nothing but a hole follows. Other errors: the file system has no holes.
    return what == SEEK_DATA && errno != ENXIO ? offset : end;
}

// The same value until the machine is started again. If that can't be found out, never the same.
std::uint64_t hash_of_boot() {
    if (const std::optional<std::uint64_t> boot = boot_number()) return *boot;
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return mix(static_cast<std::uint64_t>(now.tv_sec), static_cast<std::uint64_t>(now.tv_nsec));
}

}  // namespace

std::uint32_t Checkpoint::fail(std::uint32_t code, const std::string &text) {
    what_ = checkpoint_name(position_) + ": " + text;
    return code;
}

std::uint32_t Checkpoint::reject(const std::string &text) {
    return fail(EBADMSG, "damaged: " + text);
}

std::uint32_t Checkpoint::fail_read(std::uint32_t error) {
    if (error != ENODATA) return fail(error, std::strerror(static_cast<int>(error)));
    // Until the head is read it is only known that there are checksums.
    const std::uint64_t wanted = std::max(image_end(), table_offset);
    return fail(EBADMSG, "cut short: " + std::to_string(file_size(descriptor())) + " of " +
                             std::to_string(wanted) + " bytes");
}

std::uint32_t Checkpoint::fail_stray(std::uint64_t offset) {
    return fail(EBADMSG, "damaged: the byte at offset " + std::to_string(offset) + " isn't zero");
}

std::uint32_t Checkpoint::fail_page(std::uint64_t page) {
    return fail(EBADMSG,
                "damaged: page " + std::to_string(page) + " of " +
                    std::to_string(head_.image_bytes / image_page_bytes) + ", " +
                    bytes_from(head_.image_offset + page * image_page_bytes, image_page_bytes) +
                    ", doesn't match its checksum");
}

std::uint32_t Checkpoint::open(int folder, const StoreId &id, std::uint64_t position) {
    position_ = position;
    head_ = {};
    what_.clear();
    std::uint32_t error = open_file(folder);
    if (error == 0) error = check(id);
    if (error != 0) {
        file_ = File();
        head_ = {};
    }
    return error;
}

std::uint32_t Checkpoint::open_file(int folder) {
    // A FIFO would block, and opening a device can have effects.
    const int flags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    file_ = File(::openat(folder, checkpoint_name(position_).c_str(), flags));
    if (!file_.is_open() && errno != ELOOP) return fail_read(error_number());
    if (!file_.is_open() || !is_regular(descriptor())) return fail(EBADMSG, "not a regular file");
    return 0;
}

std::uint32_t Checkpoint::check(const StoreId &id) {
    if (const std::uint32_t error = read_head()) return error;
    if (const std::uint32_t error = check_head(id)) return error;
    if (const std::uint32_t error = check_size()) return error;
    Checksums checksums;
    return read_checksums(checksums);
}

std::uint32_t Checkpoint::read_head() {
    CheckpointHead head;
    const std::span<char> bytes(reinterpret_cast<char *>(&head), sizeof head);
    if (const std::uint32_t error = read_fully(descriptor(), bytes, 0)) return fail_read(error);
    head_ = head;
    return 0;
}

// Nothing after the byte order is used before that is checked: it may be of another format.
std::uint32_t Checkpoint::check_format() {
    if (head_.magic == __builtin_bswap64(checkpoint_magic)) {
        return fail(EINVAL, "a checkpoint of a machine with the other byte order");
    }
    if (head_.magic != checkpoint_magic) return fail(EBADMSG, "not a checkpoint");
    if (head_.version != checkpoint_format_version) {
        return fail(EINVAL, "a checkpoint of format version " + std::to_string(head_.version) +
                                "; this release reads version " +
                                std::to_string(checkpoint_format_version));
    }
    if (head_.byte_order != native_byte_order) {
        return fail(EINVAL, "a checkpoint of a machine with another byte order");
    }
    return 0;
}

std::uint32_t Checkpoint::check_head(const StoreId &id) {
    if (const std::uint32_t error = check_format()) return error;
    if (head_.crc != head_checksum(head_)) {
        return fail(EBADMSG, "damaged: the head, " + bytes_from(0, sizeof head_) +
                                 ", doesn't match its checksum");
    }
    if (head_.id != id) return fail(EBADMSG, "belongs to another store");
    if (head_.position != position_) {
        return fail(EBADMSG, "contains position " + std::to_string(head_.position) +
                                 " instead of " + std::to_string(position_));
    }
    const std::string wrong = wrong_number(head_);
    return wrong.empty() ? 0 : fail(EBADMSG, "damaged: " + wrong);
}

std::uint32_t Checkpoint::check_size() {
    const std::uint64_t size = file_size(descriptor());
    if (size < image_end()) return fail_read(ENODATA);
    if (size == image_end()) return 0;
    return fail(EBADMSG, "damaged: " + std::to_string(size) + " bytes instead of " +
                             std::to_string(image_end()));
}

// Reads and checks all between the head and the image.
std::uint32_t Checkpoint::read_checksums(Checksums &checksums) {
    std::vector<char> front(head_.image_offset);
    if (const std::uint32_t error = read_fully(descriptor(), front, 0)) return fail_read(error);
    checksums.resize(head_.image_bytes / image_page_bytes);
    const std::uint64_t table_bytes = checksums.size() * sizeof checksums[0];
    const std::span<const char> table(front.data() + table_offset, table_bytes);
    if (crc32c(table) != head_.pages_crc) {
        return fail(EBADMSG, "damaged: the table of checksums, " +
                                 bytes_from(table_offset, table_bytes) +
                                 ", doesn't match its checksum");
    }
    std::memcpy(checksums.data(), table.data(), table_bytes);
    std::fill(front.begin(), front.begin() + sizeof head_, '\0');
    std::fill_n(front.begin() + table_offset, table_bytes, '\0');
    const std::size_t stray = first_set(front);
    return stray == front.size() ? 0 : fail_stray(stray);
}

std::uint32_t Checkpoint::check_image(std::atomic<std::uint64_t> *progress) {
    Checksums checksums;
    if (const std::uint32_t error = read_checksums(checksums)) return error;
    std::vector<char> buffer(pages_at_once * image_page_bytes);
    const auto page_at = [this](std::uint64_t offset) {
        return (offset - head_.image_offset) / image_page_bytes;
    };
    for (std::uint64_t page = 0; page < checksums.size();) {
        const std::uint64_t offset = head_.image_offset + page * image_page_bytes;
        const std::uint64_t data = seek(descriptor(), offset, SEEK_DATA, image_end());
        for (; page < page_at(data); ++page) {
            if (checksums[page] != zero_page_checksum()) return fail_page(page);
        }
        const std::uint64_t hole = seek(descriptor(), data, SEEK_HOLE, image_end());
        const std::uint64_t end = page_at(hole + image_page_bytes - 1);
        if (const auto error = check_pages(checksums, page, end, buffer, progress)) {
            return error;
        }
        page = end;
    }
    // The part that a file has lost meanwhile looks like a hole.
    return check_size();
}

std::uint32_t Checkpoint::read(std::uint64_t offset, std::span<char> into) {
    const std::uint64_t left = head_.image_bytes - std::min(offset, head_.image_bytes);
    const std::span<char> stored = into.first(std::min(left, into.size()));
    std::ranges::fill(into.subspan(stored.size()), '\0');
    const std::uint32_t error = read_fully(descriptor(), stored, head_.image_offset + offset);
    return error == 0 ? 0 : fail_read(error);
}

bool ImageExtent::has_whole_pages() const {
    return offset % image_page_bytes == 0 && bytes % image_page_bytes == 0;
}

// The file system reports the holes in the front. To find the end of the last data it would search
// all pages of the file, so only the start of the next data is looked up.
void Checkpoint::add_front_extents(std::vector<ImageExtent> &found) const {
    const std::uint64_t front = front_of(head_);
    for (std::uint64_t at = 0; at < front; at += hole_bytes) {
        const std::uint64_t data =
            seek(descriptor(), head_.image_offset + at, SEEK_DATA, head_.image_offset + front);
        at = (data - head_.image_offset) / hole_bytes * hole_bytes;
        if (at == front) return;
        if (!found.empty() && found.back().offset + found.back().bytes == at) {
            found.back().bytes += hole_bytes;
        } else {
            found.push_back({at, hole_bytes});
        }
    }
}

std::uint32_t Checkpoint::extents(std::vector<ImageExtent> &found) {
    Checksums checksums;
    if (const std::uint32_t error = read_checksums(checksums)) return error;
    found.clear();
    add_front_extents(found);
    const std::uint32_t zero = zero_page_checksum();
    for (std::uint64_t page = front_of(head_) / image_page_bytes; page < checksums.size();) {
        const std::uint64_t first = page;
        while (page < checksums.size() && checksums[page] != zero) ++page;
        if (first < page) {
            found.push_back({first * image_page_bytes, (page - first) * image_page_bytes});
        }
        while (page < checksums.size() && checksums[page] == zero) ++page;
    }
    return 0;
}

std::uint32_t Checkpoint::check_pages(const Checksums &checksums, std::uint64_t page,
                                      std::uint64_t end, std::span<char> buffer,
                                      std::atomic<std::uint64_t> *progress) {
    while (page < end) {
        if (progress != nullptr) progress->fetch_add(1, std::memory_order_relaxed);
        const std::uint64_t count = std::min(pages_at_once, end - page);
        const std::span<char> bytes = buffer.first(count * image_page_bytes);
        const std::uint64_t offset = head_.image_offset + page * image_page_bytes;
        if (const auto error = read_fully(descriptor(), bytes, offset)) return fail_read(error);
        for (std::uint64_t i = 0; i < count; ++i, ++page) {
            const auto content = bytes.subspan(i * image_page_bytes, image_page_bytes);
            if (crc32c(content) != checksums[page]) return fail_page(page);
        }
    }
    return 0;
}

std::uint64_t Checkpoint::identity() const {
    struct stat status {};
    ::fstat(descriptor(), &status);
    std::uint64_t hash = hash_of_boot();
    for (const auto number :
         {status.st_ino, static_cast<ino_t>(status.st_size),
          static_cast<ino_t>(status.st_ctim.tv_sec), static_cast<ino_t>(status.st_ctim.tv_nsec)}) {
        hash = mix(hash, number);
    }
    return hash == 0 ? 1 : hash;
}

}  // namespace tarnbase::runtime
