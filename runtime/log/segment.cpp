/* SPDX-License-Identifier: Apache-2.0 */
#include "runtime/log/segment.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <utility>

#include "runtime/base/file.h"
#include "runtime/base/file_io.h"
#include "runtime/base/populate.h"
#include "runtime/log/compressed_segment.h"
#include "runtime/log/crc32c.h"
#include "runtime/log/segment_files.h"

namespace tarnbase::runtime {

namespace {

// Pages are prepared little by little: all of a segment at once would take longer than a commit
// should.
constexpr std::uint64_t prepared_at_once = 32 << 10;

constexpr char magic[] = {'T', 'A', 'R', 'N', 'L', 'O', 'G', '1'};

struct SegmentHead {
    char magic[8];
    std::uint64_t first;
    StoreId id;
    std::uint32_t size;
    std::uint32_t crc;
    char reserved[24];
};
static_assert(sizeof(SegmentHead) == segment_head_bytes);

std::uint32_t head_crc(const SegmentHead &head) {
    return crc32c({reinterpret_cast<const char *>(&head), offsetof(SegmentHead, crc)});
}

SegmentHead head_of(const StoreId &id, std::uint64_t position, std::uint64_t size) {
    SegmentHead head{};
    std::memcpy(head.magic, magic, sizeof magic);
    head.first = position;
    head.id = id;
    head.size = static_cast<std::uint32_t>(size);
    head.crc = head_crc(head);
    return head;
}

// Allocates all of a new file's disk blocks. Some file systems can only do that by writing.
std::uint32_t allocate_blocks(int file, std::uint64_t size) {
    int result = 0;
    do {
        result = ::fallocate(file, 0, 0, static_cast<off_t>(size));
    } while (result != 0 && errno == EINTR);
    if (result == 0) return 0;
    if (errno != EOPNOTSUPP) return error_number();
    static constexpr char zeros[first_segment_bytes] = {};
    for (std::uint64_t offset = 0; offset < size; offset += sizeof zeros) {
        const std::uint32_t error = write_fully(file, zeros, offset);
        if (error != 0) return error;
    }
    return 0;
}

// Lets everybody use the file who may use the folder, whatever the maker's umask: several users
// may share a store.
void take_mode_of(int folder, int file) {
    struct stat of_folder {};
    struct stat of_file {};
    if (::fstat(folder, &of_folder) != 0 || ::fstat(file, &of_file) != 0) return;
    const mode_t wanted = of_folder.st_mode & 0666;
    if ((of_file.st_mode & 0777) == wanted) return;
    // A file system without modes refuses this and needs none.
    [[maybe_unused]] const int ignored = ::fchmod(file, wanted);
}

// The frame is written by a call: stores into a mapping of the file would wait for each of its
// pages, and the kernel would clear them before.
std::uint32_t fill_file(int folder, int file, const SegmentHead &head,
                        std::span<const char> frame) {
    take_mode_of(folder, file);
    std::uint32_t error = allocate_blocks(file, head.size);
    if (error == 0) {
        error = write_fully(file, {reinterpret_cast<const char *>(&head), sizeof head}, 0);
    }
    return error != 0 ? error : write_fully(file, frame, segment_head_bytes);
}

std::uint32_t rename_to(int folder, const char *name) {
    return ::renameat(folder, working_segment_name, folder, name) == 0 ? 0 : error_number();
}

// What is wrong with a segment's head; null if nothing is.
const char *check_head(const SegmentHead &head, const StoreId &id, std::uint64_t position,
                       std::uint64_t size) {
    if (std::memcmp(head.magic, magic, sizeof magic) != 0) return "a log segment has a wrong magic";
    if (head.crc != head_crc(head)) return "a log segment's head has a wrong checksum";
    if (head.id != id) return "a log segment belongs to another store";
    if (head.first != position) return "a log segment has another position than its name";
    if (head.size < first_segment_bytes || head.size != size) {
        return "a log segment has a wrong length";
    }
    return nullptr;
}

const char *check_file(int file, const StoreId &id, std::uint64_t position, std::uint64_t &size) {
    struct stat status {};
    if (::fstat(file, &status) != 0 || !S_ISREG(status.st_mode))
        return "a log segment is no regular file";
    SegmentHead head;
    if (read_fully(file, {reinterpret_cast<char *>(&head), sizeof head}, 0) != 0)
        return "a log segment is cut short";
    size = static_cast<std::uint64_t>(status.st_size);
    return check_head(head, id, position, size);
}

}  // namespace

Segment::Segment(Segment &&other) noexcept { *this = std::move(other); }

Segment &Segment::operator=(Segment &&other) noexcept {
    std::swap(bytes_, other.bytes_);
    std::swap(size_, other.size_);
    std::swap(first_, other.first_);
    std::swap(prepared_, other.prepared_);
    std::swap(unnamed_, other.unnamed_);
    std::swap(what_, other.what_);
    return *this;
}

Segment::~Segment() {
    if (is_open()) ::munmap(bytes_, size_);
}

std::uint32_t Segment::create(int folder, const StoreId &id, std::uint64_t position,
                              std::uint64_t bytes, std::span<const char> frame) {
    constexpr std::uint64_t unit = first_segment_bytes;
    const std::uint64_t size = std::max((bytes + unit - 1) / unit, std::uint64_t{1}) * unit;
    if (size > std::numeric_limits<std::uint32_t>::max() || is_above_file_limit(size)) return EFBIG;
    const SegmentHead head = head_of(id, position, size);
    std::uint32_t error = 0;
    do {
        ::unlinkat(folder, working_segment_name, 0);
        constexpr int flags = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
        const File file(::openat(folder, working_segment_name, flags, 0666));
        if (!file.is_open()) return error_number();
        Segment made;
        made.size_ = size;
        made.first_ = position;
        error = fill_file(folder, file.descriptor(), head, frame);
        if (error == 0) error = made.map(file.descriptor(), true);
        if (error == 0) error = made.prepare(position + frame.size(), end_mark_bytes);
        if (error == 0) error = rename_to(folder, segment_name(position).c_str());
        if (error == 0) *this = std::move(made);
    } while (error == ENOENT);
    if (error != 0) ::unlinkat(folder, working_segment_name, 0);
    return error;
}

std::uint32_t Segment::create_unnamed(int folder, std::uint64_t bytes) {
    if (is_above_file_limit(bytes)) return EFBIG;
    File file(::openat(folder, ".", O_RDWR | O_TMPFILE | O_CLOEXEC, 0666));
    if (!file.is_open()) return error_number();
    Segment made;
    made.size_ = bytes;
    take_mode_of(folder, file.descriptor());
    std::uint32_t error = allocate_blocks(file.descriptor(), bytes);
    if (error == 0) error = made.map(file.descriptor(), true);
    if (error == 0) error = made.prepare_pages(0, bytes);
    if (error != 0) return error;
    made.unnamed_ = std::move(file);
    *this = std::move(made);
    return 0;
}

std::uint32_t Segment::give_name(int folder, const StoreId &id, std::uint64_t position) {
    const SegmentHead head = head_of(id, position, size_);
    std::memcpy(bytes_, &head, sizeof head);
    char path[40];
    std::snprintf(path, sizeof path, "/proc/self/fd/%d", unnamed_.descriptor());
    const std::string name = segment_name(position);
    if (::linkat(AT_FDCWD, path, folder, name.c_str(), AT_SYMLINK_FOLLOW) != 0) {
        return error_number();
    }
    first_ = position;
    unnamed_ = {};
    return 0;
}

std::uint32_t Segment::open(int folder, const StoreId &id, std::uint64_t position, bool writable) {
    // Without O_NONBLOCK, the open of a pipe with this name would wait.
    const int flags = (writable ? O_RDWR : O_RDONLY) | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    const File file(::openat(folder, segment_name(position).c_str(), flags));
    if (!file.is_open()) {
        const std::uint32_t error = error_number();
        return error == ENOENT && !writable ? open_compressed(folder, id, position) : error;
    }
    Segment opened;
    opened.first_ = position;
    const char *wrong = check_file(file.descriptor(), id, position, opened.size_);
    if (wrong != nullptr) {
        what_ = wrong;
        return EBADMSG;
    }
    const std::uint32_t error = opened.map(file.descriptor(), writable);
    if (error == 0) *this = std::move(opened);
    return error;
}

std::uint32_t Segment::open_compressed(int folder, const StoreId &id, std::uint64_t position) {
    CompressedSegment file;
    Segment opened;
    opened.first_ = position;
    std::uint32_t error = file.open(folder, id, position);
    if (error == 0) error = opened.map_memory(file.segment_bytes());
    if (error == 0) error = file.expand({opened.bytes_, opened.size_});
    what_ = file.what();
    if (error == 0) {
        SegmentHead head;
        std::memcpy(&head, opened.bytes_, sizeof head);
        what_ = check_head(head, id, position, opened.size_);
        if (what_ != nullptr) error = EBADMSG;
    }
    if (error == 0) *this = std::move(opened);
    return error;
}

std::uint32_t Segment::map_memory(std::uint64_t size) {
    constexpr int flags = MAP_PRIVATE | MAP_ANONYMOUS;
    void *address = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, flags, -1, 0);
    if (address == MAP_FAILED) return error_number();
    bytes_ = static_cast<char *>(address);
    size_ = size;
    return 0;
}

std::uint32_t Segment::map(int file, bool writable) {
    const int protection = PROT_READ | (writable ? PROT_WRITE : 0);
    const int flags = MAP_SHARED | (writable ? 0 : MAP_POPULATE);
    void *address = ::mmap(nullptr, size_, protection, flags, file, 0);
    if (address == MAP_FAILED) return error_number();
    bytes_ = static_cast<char *>(address);
    return 0;
}

std::uint32_t Segment::prepare_pages(std::uint64_t offset, std::uint64_t bytes) {
    const auto page = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
    const std::uint64_t start = std::max(offset, prepared_) / page * page;
    const std::uint64_t end = std::min(size_, std::max(offset + bytes, start + prepared_at_once));
    prepared_ = end;
    if (populate(bytes_ + start, end - start) != EFAULT) return 0;
    prepared_ = start;
    return ENOSPC;
}

bool Segment::contains(std::uint64_t position) const {
    return is_open() && position >= first_ && (position - first_) % 8 == 0 &&
           position - first_ <= size_ - segment_head_bytes - end_mark_bytes;
}

std::span<char> Segment::from(std::uint64_t position) const {
    return std::span(bytes_, size_).subspan(segment_head_bytes + position - first_);
}

}  // namespace tarnbase::runtime
