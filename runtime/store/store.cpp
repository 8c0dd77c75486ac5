// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/store.h"

#include "runtime/store/table_refusal.h"
#include "tarnbase/runtime.h"

using tarnbase::runtime::StoreHeader;
using tarnbase::runtime::TransactionSlot;
using tarnbase::runtime::UndoLog;

namespace {

// Pages of a new store before it grows.
constexpr std::uint64_t first_pages = 16;

}  // namespace

kel_store::~kel_store() {
    if (header == nullptr) return;
    for (std::uint32_t i = 0; i < tarnbase::runtime::transaction_slots; ++i) {
        if ((begun_here >> i & 1) == 0) continue;
        roll_back(header->transactions[i], tarnbase::runtime::UndoScope::this_process);
    }
}

std::uint32_t kel_store::format() {
    using namespace tarnbase::runtime;
    const std::uint64_t front = Allocator::front_bytes(page_sets_offset, region.capacity());
    const std::uint64_t size = front + first_pages * page_size;
    if (const std::uint32_t error = region.extend(0, size); error != 0) return error;
    header = reinterpret_cast<StoreHeader *>(region.base());
    header->version = store_format_version;
    header->page_bytes = static_cast<std::uint32_t>(page_size);
    header->base = region.base();
    header->capacity = region.capacity();
    header->arena.size = size;
    header->tables.last = &header->tables.first;
    attach();
    allocator.format(page_sets_offset);
    header->magic = store_magic;
    return 0;
}

void kel_store::attach() {
    using namespace tarnbase::runtime;
    header = reinterpret_cast<StoreHeader *>(region.base());
    allocator = Allocator(region, header->arena, page_sets_offset);
}

void kel_store::recover() {
    for (TransactionSlot &slot : header->transactions) {
        if (slot.id == 0) continue;
        if (slot.committed != 0) {
            commit(slot);
        } else {
            roll_back(slot, tarnbase::runtime::UndoScope::store_only);
        }
    }
}

bool kel_store::fails_on_purpose() {
    return allocations_until_failure != 0 && --allocations_until_failure == 0;
}

void *kel_store::allocate(std::uint32_t tx_id, std::uint64_t size) {
    if (fails_on_purpose()) return nullptr;
    // An open that needed no new block leaves its refusal to any later allocation.
    const bool is_refused = tarnbase::runtime::take_table_refusal();
    if (is_refused && tx_id == KEL_TX_NONE && size == sizeof(kel_table)) return nullptr;
    TransactionSlot *slot = transaction(tx_id);
    if (slot == nullptr) return allocator.allocate(size);
    // Without a log entry a rollback would lose the block.
    if (!UndoLog(*this, *slot).reserve()) return nullptr;
    void *block = allocator.allocate(size);
    if (block != nullptr) UndoLog(*this, *slot).allocated(block);
    return block;
}

void kel_store::release(std::uint32_t tx_id, void *block) {
    TransactionSlot *slot = transaction(tx_id);
    if (slot == nullptr || !allocator.is_allocated(block)) {
        release_now(block);
    } else {
        UndoLog(*this, *slot).deferred_free(block);
    }
}

void kel_store::release_now(void *block) {
    if (allocator.release(block)) return;
    ptrail_wrapper(0, KEL_TRACE_ERROR, 0,
                   "(ERR): %p is released, but isn't an allocated block of the store", block);
}

bool kel_store::contains(const void *address, std::uint64_t length) const {
    const auto offset =
        reinterpret_cast<std::uintptr_t>(address) - reinterpret_cast<std::uintptr_t>(header->base);
    return offset < header->arena.size && length <= header->arena.size - offset;
}

void kel_store::log_write(std::uint32_t tx_id, const void *address, std::uint64_t length) {
    // At a rollback, memory outside the store may be gone or in use for something else.
    if (!contains(address, length)) return;
    if (TransactionSlot *slot = transaction(tx_id))
        UndoLog(*this, *slot).old_bytes(address, length);
}

void kel_store::log_delta(std::uint32_t tx_id, const void *address, std::int32_t delta) {
    if (TransactionSlot *slot = transaction(tx_id)) UndoLog(*this, *slot).delta(address, delta);
}
