/* SPDX-License-Identifier: Apache-2.0 */
// A segment in compressed form, `log-POSITION.zst`: a file that zstd(1) reads, too, since it begins
// with a frame of zstd's that is skipped. The file never changes.
//
//   offset  size  member
//        0     4  0x184d2a5e, little-endian: a frame that is skipped
//        4     4  56, little-endian: bytes of that frame from here on
//        8     8  magic "TARNLOGZ"
//       16     8  position of the segment's first frame
//       24    16  id of the store
//       40     4  bytes of the segment, at most 64 MiB
//       44     4  bytes from offset 64 to the end of the file
//       48     4  CRC32C of these
//       52     4  CRC32C of the 52 bytes before
//       56     8  zero
//       64        one frame of zstd's that says its length: all bytes of the segment (segment.h)
#ifndef TARNBASE_RUNTIME_LOG_COMPRESSED_SEGMENT_H
#define TARNBASE_RUNTIME_LOG_COMPRESSED_SEGMENT_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "runtime/base/file.h"
#include "runtime/log/store_id.h"

struct ZSTD_CCtx_s;

namespace tarnbase::runtime {

inline constexpr std::size_t compressed_head_bytes = 64;

// A longer segment stays as it is: whoever reads a compressed one needs that much memory.
inline constexpr std::uint64_t most_expanded_bytes = 64 << 20;

// Writes compressed segments.
class SegmentCompressor {
 public:
    SegmentCompressor();
    // Writes the file of a segment at `position` to the disk, and then gives it its name; one of
    // that name is replaced. Returns 0 or an errno number; an error leaves no file. Requires:
    // `segment` has at most `most_expanded_bytes`.
    std::uint32_t write(int folder, const StoreId &id, std::uint64_t position,
                        std::span<const char> segment);

 private:
    struct Free {
        void operator()(ZSTD_CCtx_s *context) const;
    };
    std::unique_ptr<ZSTD_CCtx_s, Free> context_;
};

// A compressed segment that is open.
class CompressedSegment {
 public:
    // Checks the head and the lengths. Returns 0; ENOENT there is none; EBADMSG it is damaged, cut
    // short or of another store, and `what` says how; or an errno number.
    std::uint32_t open(int folder, const StoreId &id, std::uint64_t position);
    std::uint64_t segment_bytes() const { return segment_bytes_; }
    // Writes the segment into memory of that size. Errors as above, and ENOMEM.
    std::uint32_t expand(std::span<char> into);
    const char *what() const { return what_; }

 private:
    std::uint32_t damaged(const char *what);

    File file_;
    std::uint64_t segment_bytes_ = 0;
    std::uint32_t bytes_ = 0;  // after the head
    std::uint32_t crc_ = 0;    // of these
    const char *what_ = "";
};

}  // namespace tarnbase::runtime

#endif
