/* SPDX-License-Identifier: Apache-2.0 */
// The replication stream in the store: a ring of slots, one for each frame, which every
// process finds by a key of the keyed store. A frame is a block of its own. The frame of
// position p is in slot p % slots. No position is used twice, except those of frames that
// were rolled back. A new frame replaces as many of the oldest ones as the two limits
// require.
//
//   ring               offset  size  member
//                           0     8  slots
//                           8     8  most bytes of marshalled records
//                          16     8  bytes of marshalled records now
//                          24     8  position of the oldest frame
//                          32     8  position of the next frame
//                          40        slots
//
//   slot                    0     8  frame; null: its record could not be enqueued
//                           8     4  transaction that wrote it
//                          12     4  zero
//
//   frame                   0    40  kel_replication_frame
//                          40        the marshalled record
//
// Changes are announced through the handle's hook, so a rollback restores every byte.
// Readers don't get a frame before its transaction ends.
#ifndef TARNBASE_RUNTIME_REPLICATION_RING_H
#define TARNBASE_RUNTIME_REPLICATION_RING_H

#include <cstddef>
#include <cstdint>

#include "tarnbase/embedded.h"

namespace tarnbase::runtime {

// The key of the ring. A table's key always has a '/'.
inline constexpr const char *ring_key = "__kel_replication_ring";
inline constexpr std::uint64_t most_slots = 1ULL << 32;

struct Frame {
    kel_replication_frame head;
    const std::byte *bytes() const { return reinterpret_cast<const std::byte *>(this + 1); }
};
static_assert(sizeof(Frame) == 40);
static_assert(offsetof(kel_replication_frame, table) == 8);
static_assert(offsetof(kel_replication_frame, luid) == 16);
static_assert(offsetof(kel_replication_frame, length) == 32);
static_assert(offsetof(kel_replication_frame, tenant) == 36);
static_assert(offsetof(kel_replication_frame, src) == 38);

struct RingSlot {
    Frame *frame;
    std::uint32_t tx_id;
    std::uint32_t reserved;
};
static_assert(sizeof(RingSlot) == 16);

struct RingHead {
    std::uint64_t slots;
    std::uint64_t byte_limit;
    std::uint64_t bytes;
    std::uint64_t first;
    std::uint64_t next;
};
static_assert(sizeof(RingHead) == 40);

// A store's ring for the duration of a call.
class FrameRing {
 public:
    explicit FrameRing(kel_handle *handle);
    // False: the store has no ring.
    explicit operator bool() const { return head_ != nullptr; }

    // Makes the store's ring, or a new one with other limits and the newest frames that
    // fit; a limit of 0 is the default. Returns 0 or an errno number.
    static std::uint32_t configure(kel_handle *handle, std::uint64_t slots,
                                   std::uint64_t byte_limit);

    // Appends a frame and fills in its position. Returns 0, or ENOMEM or EMSGSIZE, and nothing
    // has changed.
    std::uint32_t append(std::uint32_t tx_id, kel_replication_frame head, const void *bytes);
    // Uses a position for a record that couldn't be enqueued.
    void append_lost(std::uint32_t tx_id);

    std::uint64_t first() const { return head_->first; }
    std::uint64_t next() const { return head_->next; }
    // The position after the newest frame that readers get.
    std::uint64_t committed_end() const;
    // Whether the transaction that wrote this position is still open.
    bool is_open(std::uint64_t position) const;
    const Frame *frame(std::uint64_t position) const { return slot(position).frame; }
    // Whether `length` bytes of a frame are inside the store: opening one doesn't check its frames.
    bool is_inside_store(const Frame *frame, std::uint64_t length) const;

 private:
    FrameRing(kel_handle *handle, RingHead *head) : handle_(handle), head_(head) {}

    RingSlot &slot(std::uint64_t position) const;
    bool has_space(std::uint64_t length) const;
    void link(std::uint32_t tx_id, Frame *frame);
    void drop_oldest(std::uint32_t tx_id);
    void move_frames_from(FrameRing &old);

    kel_handle *handle_;
    RingHead *head_;
};

}  // namespace tarnbase::runtime

#endif
