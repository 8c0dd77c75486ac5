/* SPDX-License-Identifier: Apache-2.0 */
// Segments: the files of a store's log. `log-POSITION`, 16 hexadecimal digits, contains the
// frames from that position on:
//
//   offset  size  member
//        0     8  magic "TARNLOG1"
//        8     8  position of the first frame
//       16    16  id of the store
//       32     4  bytes of the file
//       36     4  CRC32C of the 36 bytes before
//       40    24  zero
//       64        frames; after the last one of the segment 16 bytes of ones, if the next
//                 frame is in a segment of its own
//
// 16 bytes are always left for that mark.
#ifndef TARNBASE_RUNTIME_LOG_SEGMENT_H
#define TARNBASE_RUNTIME_LOG_SEGMENT_H

#include <cstddef>
#include <cstdint>
#include <span>

#include "runtime/base/file.h"
#include "runtime/log/store_id.h"

namespace tarnbase::runtime {

// The first segment of a store has this size, and each later one twice the size of the one before
// up to the most, or the size that its first frame needs. The most grows with the store.
inline constexpr std::uint64_t first_segment_bytes = 64 << 10;
inline constexpr std::uint64_t most_of_small_store = 256 << 10;
inline constexpr std::uint64_t most_of_large_store = 4 << 20;

inline constexpr std::size_t segment_head_bytes = 64;
inline constexpr std::size_t end_mark_bytes = 16;

// A segment that is mapped. The destructor unmaps it.
class Segment {
 public:
    Segment() = default;
    Segment(Segment &&other) noexcept;
    Segment &operator=(Segment &&other) noexcept;
    ~Segment();

    // Creates a segment of `bytes`, rounded up to a multiple of `first_segment_bytes`: all of
    // its disk blocks are allocated. It begins with `frame`, and space for an end mark after that is
    // prepared.
    // A file of that name is replaced. Returns 0 or an errno number, ENOSPC among them; an error
    // leaves no file. Requires: this process has the writer's lock, or the store is new.
    std::uint32_t create(int folder, const StoreId &id, std::uint64_t position,
                         std::uint64_t bytes = first_segment_bytes,
                         std::span<const char> frame = {});
    // Creates one without a position or a name, all of whose pages are mapped; `bytes` are a
    // multiple of `first_segment_bytes`. It is gone when it is unmapped. Returns 0 or an errno
    // number: EOPNOTSUPP the file system has no files without a name.
    std::uint32_t create_unnamed(int folder, std::uint64_t bytes);
    // Gives it both. Returns 0 or an errno number, EEXIST among them: then it stays as it is.
    // Requires: as for `create`.
    std::uint32_t give_name(int folder, const StoreId &id, std::uint64_t position);
    // Opens the segment that begins at `position`. If there is only a compressed one, a segment
    // that is only read is a copy in memory. Returns 0; ENOENT there is none; EBADMSG it is
    // damaged, cut short or of another store, and `what` says how; or an errno number.
    std::uint32_t open(int folder, const StoreId &id, std::uint64_t position, bool writable);
    // Allocates and maps the pages of `bytes` from a position on, and of some after them if none
    // of these were, so that a store into them can't fail. Returns 0, or ENOSPC.
    std::uint32_t prepare(std::uint64_t position, std::uint64_t bytes) {
        const std::uint64_t offset = segment_head_bytes + position - first_;
        return offset + bytes <= prepared_ ? 0 : prepare_pages(offset, bytes);
    }

    bool is_open() const { return bytes_ != nullptr; }
    std::uint64_t first() const { return first_; }
    std::uint64_t size() const { return size_; }
    // Whether a frame or the end mark can begin at the position.
    bool contains(std::uint64_t position) const;
    // The bytes from a position to the end of the segment.
    std::span<char> from(std::uint64_t position) const;
    // The whole file.
    std::span<const char> file() const { return {bytes_, size_}; }
    const char *what() const { return what_; }

 private:
    std::uint32_t open_compressed(int folder, const StoreId &id, std::uint64_t position);
    std::uint32_t map(int file, bool writable);
    std::uint32_t map_memory(std::uint64_t size);
    std::uint32_t prepare_pages(std::uint64_t offset, std::uint64_t bytes);

    char *bytes_ = nullptr;
    std::uint64_t size_ = 0;
    std::uint64_t first_ = 0;
    std::uint64_t prepared_ = 0;  // the end of the bytes that are, but for the frame of `create`
    File unnamed_;                // the file as long as it has no name
    const char *what_ = "";
};

}  // namespace tarnbase::runtime

#endif
