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
//       48     8  position of the log, the one in the name
//       56     8  position at which the log's segment of that position begins
//       64     8  sequence number of the last frame contained
//       72     8  bytes of the image, a multiple of 65536, at most the capacity
//       80     8  offset of the image, the first multiple of 4096 after the checksums
//       88     4  CRC32C of the page checksums
//       92     4  CRC32C of the 92 bytes before
//       96        zero up to 4096
//     4096        a CRC32C for each page, 65536 bytes of the image: 4 bytes each
//      ...        zero up to the image
//      ...        the image, up to the end of the file. A page of zeros is a hole. In the front,
//                 before the first page that can have blocks, so are 4096 bytes of zeros
#ifndef TARNBASE_RUNTIME_CHECKPOINT_CHECKPOINT_H
#define TARNBASE_RUNTIME_CHECKPOINT_CHECKPOINT_H

#include <atomic>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "runtime/base/file.h"
#include "runtime/log/log.h"

namespace tarnbase::runtime {

inline constexpr std::uint32_t checkpoint_format_version = 1;

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

// Bytes of an image that are no hole.
struct ImageExtent {
    std::uint64_t offset;  // in the image
    std::uint64_t bytes;
    bool has_whole_pages() const;
};

std::string checkpoint_name(std::uint64_t position);

// Writes a checkpoint with the image at `image`, which nothing changes meanwhile. The caller
// sets the head's id, base, capacity, position, segment and sequence, and has the checkpoint
// lock. The file gets the folder's permissions to read and write. Steps are counted in `progress`.
// `is_durable`: the file is on the disk, and then its name, when this returns. Returns 0 or an
// errno number; EINVAL: `open` wouldn't accept the head or the image's length. An error leaves no
// file.
std::uint32_t write_checkpoint(int folder, CheckpointHead head, std::span<const char> image,
                               std::atomic<std::uint64_t> *progress = nullptr,
                               bool is_durable = false);

// A checkpoint that is open.
class Checkpoint {
 public:
    // Opens and checks everything but the image. ENOENT: there is none of that position;
    // EINVAL: it is of another format version or byte order; EBADMSG: it is damaged, cut short
    // or of another store. After any error nothing is open, and `what` says what is wrong.
    std::uint32_t open(int folder, const StoreId &id, std::uint64_t position);
    // Checks the checksums of the image. EBADMSG as above. Nothing is mapped: a file that is
    // cut meanwhile is an error and not a signal. Counts its steps in `progress`.
    std::uint32_t check_image(std::atomic<std::uint64_t> *progress = nullptr);
    // Reads bytes of the image; zeros after its end.
    std::uint32_t read(std::uint64_t offset, std::span<char> into);
    // The parts of the image that aren't zero. Nothing else of it should be mapped: a file system
    // in memory allocates memory for a hole that is read, and if it is full that is a SIGBUS.
    // EBADMSG as above.
    std::uint32_t extents(std::vector<ImageExtent> &found);
    // Reports what a user of the image has found wrong with it: returns EBADMSG and sets `what`.
    std::uint32_t reject(const std::string &text);
    // Identifies the file as it is now: a hash of the boot, and of the file's number, size and
    // time of change. A process that has checked the image records the identity that the file
    // had before, and others that find the same identity needn't check it again. Never 0.
    std::uint64_t identity() const;

    const CheckpointHead &head() const { return head_; }
    int descriptor() const { return file_.descriptor(); }
    // The file's name and the last error.
    const std::string &what() const { return what_; }

 private:
    using Checksums = std::vector<std::uint32_t>;

    std::uint32_t open_file(int folder);
    std::uint32_t check(const StoreId &id);
    std::uint32_t read_head();
    std::uint32_t check_format();
    std::uint32_t check_head(const StoreId &id);
    std::uint32_t check_size();
    std::uint32_t read_checksums(Checksums &checksums);
    std::uint32_t check_pages(const Checksums &checksums, std::uint64_t page, std::uint64_t end,
                              std::span<char> buffer, std::atomic<std::uint64_t> *progress);

    std::uint32_t fail(std::uint32_t code, const std::string &text);
    std::uint32_t fail_read(std::uint32_t error);
    std::uint32_t fail_stray(std::uint64_t offset);
    std::uint32_t fail_page(std::uint64_t page);

    void add_front_extents(std::vector<ImageExtent> &found) const;

    std::uint64_t image_end() const { return head_.image_offset + head_.image_bytes; }

    File file_;
    std::uint64_t position_ = 0;
    CheckpointHead head_{};
    std::string what_;
};

// The positions of all checkpoints in a folder, in increasing order.
std::vector<std::uint64_t> checkpoint_positions(int folder);

// A checkpoint's file, as the folder lists it.
struct CheckpointEntry {
    std::uint64_t position;
    std::uint64_t disk_bytes;
    std::uint64_t time;  // when it was written, nanoseconds since 1970
};

// The checkpoints of a store in increasing order. One that a process made for nothing may be among
// them: it is of a position before the newest, and as good as any.
std::vector<CheckpointEntry> list_checkpoints(int folder);

// Removes the checkpoint of a position.
void remove_checkpoint(int folder, std::uint64_t position);

// Removes those that a process was writing when it ended. The caller has the checkpoint lock.
void remove_working_checkpoints(int folder);

// Removes all checkpoints before `position`, and those that a process was writing when it
// ended. The caller has the checkpoint lock.
void remove_checkpoints(int folder, std::uint64_t position);

}  // namespace tarnbase::runtime

#endif
