/* SPDX-License-Identifier: Apache-2.0 */
// The replication stream in the store: a ring of slots, one a frame, which every
// process finds under a key of the keyed store. A frame is a block of its own. The
// frame of position p stands in slot p % slots; positions are never given twice, but
// for those of frames that a rollback has taken back. A new frame takes the place of
// as many of the oldest ones as are in the way of one of the two limits.
//
//   ring               offset  size  member
//                           0     8  slots
//                           8     8  most bytes of marshalled records
//                          16     8  bytes of marshalled records now
//                          24     8  position of the oldest frame
//                          32     8  position of the next frame to come
//                          40        slots
//
//   slot                    0     8  frame; null: its record could not be enqueued
//                           8     4  transaction that wrote it
//                          12     4  zero
//
//   frame                   0    40  kel_replication_frame
//                          40        the marshalled record
//
// Changes are announced through the handle's hook: a rollback leaves every byte as it
// was. Until its transaction ends a frame is not for readers.
#ifndef TARNBASE_RUNTIME_REPLICATION_RING_H
#define TARNBASE_RUNTIME_REPLICATION_RING_H

#include <cstddef>
#include <cstdint>

#include "tarnbase/embedded.h"

namespace tarn::runtime {

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

// Names a store's ring for the length of a call.
class FrameRing {
 public:
    explicit FrameRing(kel_handle *handle);
    // False: the store has none.
    explicit operator bool() const { return head_ != nullptr; }

    // Makes the store's ring, or makes it anew with other limits and the newest frames
    // that fit; 0 is a default. 0, or an errno number.
    static std::uint32_t configure(kel_handle *handle, std::uint64_t slots,
                                   std::uint64_t byte_limit);

    // Appends a frame; its position is filled in. 0; ENOMEM or EMSGSIZE: nothing changed.
    std::uint32_t append(std::uint32_t tx_id, kel_replication_frame head, const void *bytes);
    // Gives a position to a record that is not in the stream.
    void append_lost(std::uint32_t tx_id);

    std::uint64_t first() const;
    std::uint64_t next() const;
    // The position behind the newest frame that is for readers.
    std::uint64_t committed_end() const;
    // Whether the transaction that wrote this position is still open.
    bool is_open(std::uint64_t position) const;
    const Frame *frame(std::uint64_t position) const { return slot(position).frame; }
    // False: what seems to be a frame's length is none, since the frame was dropped.
    bool can_have(const Frame *frame, std::uint64_t length) const;

 private:
    FrameRing(kel_handle *handle, RingHead *head) : handle_(handle), head_(head) {}

    RingSlot &slot(std::uint64_t position) const;
    bool has_room(std::uint64_t length) const;
    void place(std::uint32_t tx_id, Frame *frame);
    void drop_oldest(std::uint32_t tx_id);
    void take_over(FrameRing &old);

    kel_handle *handle_;
    RingHead *head_;
};

}  // namespace tarn::runtime

#endif
