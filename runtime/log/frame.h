/* SPDX-License-Identifier: Apache-2.0 */
// Frames: what a commit appends to a store's log. Numbers are in the byte order of the store's
// machine, as the store's content is, and everything begins at a multiple of 8.
//
//   frame              offset  size  member
//                           0     8  sequence number: 1 for the store's first frame
//                           8     4  length in bytes, these 16 included; a multiple of 8
//                          12     4  CRC32C of the frame with zeros in this place
//                          16        operations up to the end
//
//   operation               0     8  kind in bits 62 to 63, length in bits 40 to 61, and the
//                                    offset from the store's base address in bits 0 to 39
//
//   kind                    what follows, padded with zeros to a multiple of 8
//   0 write                 `length` bytes, the new content of the offset
//   1 allocate              8 bytes, the size of the block; then `length` bytes, the start of
//                           its content: the rest is zero
//   2 release               nothing; the length is 0. With another length it is a note: the offset
//                           is its kind (notes.h), and `length` bytes are its content
//   3 references            8 bytes; the upper 4 are a count of references, which a process
//                           that has a count of its own doesn't take over unless it is 0
//
// The releases of a frame come first, then the allocations, then the writes; notes may be
// anywhere. A block that was freed and allocated again has both operations. A content that is
// longer than `length` can say is continued by writes right after its operation.
#ifndef TARNBASE_RUNTIME_LOG_FRAME_H
#define TARNBASE_RUNTIME_LOG_FRAME_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>

namespace tarnbase::runtime {

struct FrameHead {
    std::uint64_t sequence;
    std::uint32_t length;
    std::uint32_t crc;
};
static_assert(sizeof(FrameHead) == 16);

// A note is written as a release that has a length.
enum class OperationKind : std::uint8_t {
    write = 0,
    allocate = 1,
    release = 2,
    references = 3,
    note = 4
};

struct Operation {
    OperationKind kind;
    std::uint64_t offset;         // from the store's base address; of a note: its kind
    std::uint64_t block_size;     // of an allocation, else 0
    std::span<const char> bytes;  // content
};

// No operation reaches beyond this offset.
inline constexpr std::uint64_t most_offset = 1ULL << 40;
inline constexpr std::uint64_t most_frame_bytes = 1ULL << 31;
inline constexpr std::uint64_t most_note_bytes = 4096;

// Collects the operations of one frame. Requires: all bytes lie before
// `most_offset`, and a content is at most as long as its block.
class FrameBuilder {
 public:
    // Keeps the memory for the next frame, unless this one was unusually large.
    void clear();
    // Whether it has nothing but notes.
    bool is_empty() const { return used_ == sizeof(FrameHead) + note_bytes_; }
    // Bytes of the whole frame. It can't be appended if this is above `most_frame_bytes`.
    std::uint64_t length() const { return used_; }

    void release(std::uint64_t offset);
    void allocate(std::uint64_t offset, std::uint64_t block_size, std::span<const char> content);
    void write(std::uint64_t offset, std::span<const char> content);
    void references(std::uint64_t offset, std::span<const char, 8> content);
    // Requires: the content isn't empty, and has at most `most_note_bytes`.
    void note(std::uint64_t kind, std::span<const char> content);

    // Completes the head; the bytes are valid until the builder is changed.
    std::span<const char> finish(std::uint64_t sequence);

 private:
    char *extend(std::size_t size);
    void grow(std::size_t size);

    struct Free {
        void operator()(char *bytes) const { std::free(bytes); }
    };

    // The first `used_` bytes are the frame's. A long one grows by realloc, which moves pages where
    // a vector would clear and copy bytes.
    std::unique_ptr<char, Free> bytes_;
    std::size_t size_ = 0;
    std::size_t used_ = sizeof(FrameHead);
    std::size_t note_bytes_ = 0;  // of these
};

// What is wrong with the frame that begins with `bytes`; null if its head, length and CRC are
// right. More bytes may come after the frame.
const char *check_frame(std::span<const char> bytes, std::uint64_t sequence);

// The operations of a frame that was checked. `frame` ends with it.
class OperationReader {
 public:
    explicit OperationReader(std::span<const char> frame);
    // False: there are no more, or `damaged()`.
    bool next(Operation &operation);
    // Whether an operation has an unknown kind, or goes beyond the end of the frame, of its block
    // or of all offsets.
    bool damaged() const { return damaged_; }

 private:
    bool take(Operation &operation);

    std::span<const char> rest_;
    bool damaged_ = false;
};

}  // namespace tarnbase::runtime

#endif
