/* SPDX-License-Identifier: Apache-2.0 */
// Checkpoints: the whole content of a store at a position of its log. A checkpoint is written
// under a working name and renamed when it is complete; its file never changes after that.
// `checkpoint-POSITION`, 16 hexadecimal digits:
//
//   offset  size  member
//        0     8  magic "TARNCKPT"
//        8     4  format version
//       12     4  0x01020304: byte order
//       16    16  id of the store
//       32     8  base address
//       40     8  capacity, bytes of address range
//       48     8  position of the log
//       56     8  position at which the log's segment of that position begins
//       64     8  sequence number of the last frame contained
//       72     8  bytes of the image, a multiple of 65536
//       80     8  offset of the image, a multiple of 4096
//       88     4  CRC32C of the page checksums
//       92     4  CRC32C of the 92 bytes before
//       96        zero up to 4096
//     4096        a CRC32C for each 65536 bytes of the image, 4 bytes each
//      ...        the image. 4096 bytes of zeros are a hole of the file
#ifndef TARNBASE_RUNTIME_CHECKPOINT_CHECKPOINT_H
#define TARNBASE_RUNTIME_CHECKPOINT_CHECKPOINT_H

#include <cstdint>
#include <span>
#include <string>

#include "runtime/base/file.h"
#include "runtime/log/log.h"

namespace tarnbase::runtime {

struct CheckpointHead {
    std::uint64_t magic;
    std::uint32_t version;
    std::uint32_t byte_order;
    StoreId id;
    std::uint64_t base;
    std::uint64_t capacity;
    std::uint64_t position;
    std::uint64_t segment;
    std::uint64_t sequence;
    std::uint64_t image_bytes;
    std::uint64_t image_offset;
    std::uint32_t pages_crc;
    std::uint32_t crc;
};
static_assert(sizeof(CheckpointHead) == 96);

std::string checkpoint_name(std::uint64_t position);

// Writes a checkpoint with the image at `image`, which nothing changes meanwhile. The caller
// sets the head's id, base, capacity, position, segment and sequence. Returns 0 or an errno
// number; an error leaves no file.
std::uint32_t write_checkpoint(int folder, CheckpointHead head, std::span<const char> image);

// A checkpoint that is open.
class Checkpoint {
 public:
    // Opens and checks everything but the image. ENOENT: there is none of that position;
    // EBADMSG: it is damaged, cut short or of another store, and `what` says how.
    std::uint32_t open(int folder, const StoreId &id, std::uint64_t position);
    // Checks the checksums of the image. EBADMSG as above.
    std::uint32_t check_image();
    // Identifies the file as it is now: a hash of the boot, and of the file's number, size and
    // time of change. A process that has checked the image records it, and others that find
    // the same identity needn't check it again. Never 0.
    std::uint64_t identity() const;

    const CheckpointHead &head() const { return head_; }
    int descriptor() const { return file_.descriptor(); }
    const std::string &what() const { return what_; }

 private:
    File file_;
    CheckpointHead head_{};
    std::string what_;
};

// Removes all checkpoints before `position`, and those that a process was writing when it
// ended.
void remove_checkpoints(int folder, std::uint64_t position);

}  // namespace tarnbase::runtime

#endif
