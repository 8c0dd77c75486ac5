// SPDX-License-Identifier: Apache-2.0
#include "runtime/replication/ring.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>

#include "runtime/base/error_text.h"
#include "runtime/catalog/keyed_store.h"
#include "runtime/store/store_handle.h"

namespace tarnbase::runtime {

namespace {

constexpr std::uint64_t default_slots = 4096;
constexpr std::uint64_t default_bytes = 4ULL << 20;

std::uint64_t length_of(const Frame *frame) { return frame != nullptr ? frame->head.length : 0; }

// Where a store's first ring begins: write cursors move without a ring too.
std::uint64_t furthest_cursor(const kel_store &store) {
    std::uint64_t furthest = 0;
    for (const kel_table *table = store.header->tables.first; table != nullptr;
         table = table->toc_next) {
        furthest = std::max(furthest, table->write_cursor);
    }
    return furthest;
}

}  // namespace

FrameRing::FrameRing(kel_handle *handle)
    : handle_(handle), head_(static_cast<RingHead *>(key_value(handle, ring_key))) {}

RingSlot &FrameRing::slot(std::uint64_t position) const {
    return reinterpret_cast<RingSlot *>(head_ + 1)[position % head_->slots];
}

bool FrameRing::is_open(std::uint64_t position) const {
    return store_of(handle_).transaction(slot(position).tx_id) != nullptr;
}

std::uint64_t FrameRing::committed_end() const {
    std::uint64_t end = next();
    while (end > first() && is_open(end - 1)) --end;
    return end;
}

bool FrameRing::is_inside_store(const Frame *frame, std::uint64_t length) const {
    const auto *base = reinterpret_cast<const std::byte *>(store_of(handle_).header);
    const auto offset = static_cast<std::uint64_t>(frame->bytes() - base);
    return offset + length <= store_of(handle_).header->arena.size;
}

bool FrameRing::has_space(std::uint64_t length) const {
    return head_->next - head_->first < head_->slots && head_->bytes + length <= head_->byte_limit;
}

void FrameRing::drop_oldest(std::uint32_t tx_id) {
    WriteLog{handle_, tx_id}.announce(head_, sizeof *head_);
    RingSlot &oldest = slot(head_->first);
    Frame *frame = oldest.frame;
    head_->bytes -= length_of(frame);
    head_->first += 1;
    WriteLog{handle_, tx_id}.set(oldest, RingSlot{});
    if (frame != nullptr) store_of(handle_).release(tx_id, frame);
}

void FrameRing::link(std::uint32_t tx_id, Frame *frame) {
    const std::uint32_t writer =
        store_of(handle_).transaction(tx_id) != nullptr ? tx_id : KEL_TX_NONE;
    WriteLog{handle_, tx_id}.announce(head_, sizeof *head_);
    WriteLog{handle_, tx_id}.set(slot(head_->next), RingSlot{frame, writer, 0});
    head_->bytes += length_of(frame);
    head_->next += 1;
}

std::uint32_t FrameRing::append(std::uint32_t tx_id, kel_replication_frame head,
                                const void *bytes) {
    if (head.length > head_->byte_limit) return EMSGSIZE;
    auto *frame =
        static_cast<Frame *>(store_of(handle_).allocate(tx_id, sizeof(Frame) + head.length));
    if (frame == nullptr) return ENOMEM;
    head.position = head_->next;
    frame->head = head;
    std::memcpy(frame + 1, bytes, head.length);
    while (!has_space(head.length)) drop_oldest(tx_id);
    link(tx_id, frame);
    return 0;
}

void FrameRing::append_lost(std::uint32_t tx_id) {
    if (!has_space(0)) drop_oldest(tx_id);
    link(tx_id, nullptr);
}

void FrameRing::move_frames_from(FrameRing &old) {
    std::uint64_t from = old.head_->next;
    std::uint64_t bytes = 0;
    for (; from > old.head_->first && old.head_->next - from < head_->slots; --from) {
        bytes += length_of(old.frame(from - 1));
        if (bytes > head_->byte_limit) break;
    }
    while (old.head_->first < from) old.drop_oldest(KEL_TX_NONE);
    head_->first = head_->next = from;
    while (head_->next < old.head_->next) link(KEL_TX_NONE, old.slot(head_->next).frame);
}

std::uint32_t FrameRing::configure(kel_handle *handle, std::uint64_t slots,
                                   std::uint64_t byte_limit) {
    if (slots > most_slots) {
        return fail(EINVAL, "replication: a ring of %llu frames is more than %llu",
                    static_cast<unsigned long long>(slots),
                    static_cast<unsigned long long>(most_slots));
    }
    FrameRing old(handle);
    // An open transaction's log may contain bytes of the old ring.
    if (old && store_of(handle).has_open_transaction()) {
        return fail(EBUSY, "replication: a transaction is open while the ring is replaced");
    }
    if (slots == 0) slots = default_slots;
    FrameRing made(handle, static_cast<RingHead *>(store_of(handle).allocate(
                               KEL_TX_NONE, sizeof(RingHead) + slots * sizeof(RingSlot))));
    if (!made) {
        return fail(ENOMEM, "replication: the store has no memory for a ring of %llu frames",
                    static_cast<unsigned long long>(slots));
    }
    made.head_->slots = slots;
    made.head_->byte_limit = byte_limit != 0 ? byte_limit : default_bytes;
    made.head_->first = made.head_->next = furthest_cursor(store_of(handle));
    if (old) made.move_frames_from(old);
    if (!set_key(handle, ring_key, made.head_)) {
        store_of(handle).release_now(made.head_);
        return ENOMEM;
    }
    if (old) store_of(handle).release_now(old.head_);
    return 0;
}

}  // namespace tarnbase::runtime
