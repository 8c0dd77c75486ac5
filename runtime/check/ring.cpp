// SPDX-License-Identifier: Apache-2.0
#include "runtime/check/ring.h"

#include "runtime/replication/ring.h"

namespace tarnbase::runtime {

namespace {

using Number = unsigned long long;

constexpr const char *name = "the replication ring";

std::string slot_name(std::uint64_t position) {
    return std::string(name) + ", position " + std::to_string(position);
}

// The bytes of a frame, or 0 if it can't be read.
std::uint64_t check_frame(Blocks &blocks, Findings &findings, const Frame *frame,
                          std::uint64_t position) {
    const auto block = blocks.claim(frame, sizeof(Frame), [&] { return slot_name(position); });
    if (!block) return 0;
    if (frame->head.position != position || frame->head.reserved != 0) {
        findings.add(slot_name(position), "its frame is of position %llu",
                     static_cast<Number>(frame->head.position));
    }
    if (frame->head.length > block->size - sizeof(Frame)) {
        findings.add(slot_name(position), "its frame has %u bytes in a block of %llu",
                     frame->head.length, static_cast<Number>(block->size));
        return 0;
    }
    return frame->head.length;
}

}  // namespace

void check_ring(Blocks &blocks, Findings &findings, const void *ring) {
    if (!blocks.claim(ring, sizeof(RingHead), [] { return std::string(name); })) return;
    const auto &head = *static_cast<const RingHead *>(ring);
    if (head.slots == 0 || head.slots > most_slots ||
        !blocks.at(ring, sizeof head + head.slots * sizeof(RingSlot))) {
        return findings.add(name, "it has %llu slots, more than its block",
                            static_cast<Number>(head.slots));
    }
    if (head.first > head.next || head.next - head.first > head.slots) {
        return findings.add(name, "it has the positions from %llu to %llu in %llu slots",
                            static_cast<Number>(head.first), static_cast<Number>(head.next),
                            static_cast<Number>(head.slots));
    }
    const auto *slots = reinterpret_cast<const RingSlot *>(&head + 1);
    std::uint64_t bytes = 0;
    for (std::uint64_t i = 0; i < head.slots; ++i) {
        // The position of this slot, from the first one on.
        const std::uint64_t position =
            head.first + (i + head.slots - head.first % head.slots) % head.slots;
        const RingSlot &slot = slots[i];
        const bool is_used = position < head.next;
        if (slot.reserved != 0 || (!is_used && (slot.frame != nullptr || slot.tx_id != 0))) {
            findings.add(slot_name(position), is_used ? "a reserved word isn't zero"
                                                      : "its slot isn't in use, but not empty");
        }
        if (is_used && slot.frame != nullptr) {
            bytes += check_frame(blocks, findings, slot.frame, position);
        }
    }
    if (bytes != head.bytes || head.bytes > head.byte_limit) {
        findings.add(name, "it counts %llu bytes of at most %llu, its frames have %llu",
                     static_cast<Number>(head.bytes), static_cast<Number>(head.byte_limit),
                     static_cast<Number>(bytes));
    }
}

}  // namespace tarnbase::runtime
