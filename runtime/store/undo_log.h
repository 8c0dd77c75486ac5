/* SPDX-License-Identifier: Apache-2.0 */
// The undo log of a transaction, in this process's own memory: chunks chained from the newest
// to the oldest. Entries follow each other upward in a chunk; each ends with a trailer, so that
// they can be read backwards, newest first:
//
//   offset  size  member
//        0     n  bytes of the entry, padded to a multiple of 8
//      n+0     8  address
//      n+8     4  length, or delta
//     n+12     4  kind
//
//   kind                what undoing does
//   1 old bytes         copies the n = length bytes back to the address
//   2 delta             subtracts the delta from the 64-bit counter at the address
//   3 allocated         frees the block at the address
//   4 deferred free     nothing; a commit frees the block at the address
//
// Only a delta may have an address outside the store.
#ifndef TARNBASE_RUNTIME_STORE_UNDO_LOG_H
#define TARNBASE_RUNTIME_STORE_UNDO_LOG_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "runtime/store/logged_ranges.h"

namespace tarnbase::runtime {

class UndoLog {
 public:
    UndoLog() = default;
    UndoLog(const UndoLog &) = delete;
    UndoLog &operator=(const UndoLog &) = delete;
    ~UndoLog();

    void old_bytes(const void *address, std::uint64_t length);
    void delta(const void *address, std::int32_t delta);
    // Reserves the space of the next `allocated` or `deferred_free`. False: there is none.
    bool reserve();
    void allocated(const void *block);
    // False: there is no memory to log it, and the block won't be freed.
    bool deferred_free(const void *block);

    // Undoes the changes, newest first, and empties the log. `release` gets the blocks that
    // were allocated.
    template <typename Release>
    void roll_back(Release release);
    // Calls `visit` with the blocks of deferred frees, newest first.
    template <typename Visit>
    void each_deferred_free(Visit visit) const;
    void clear();

    bool is_empty() const { return newest_ == nullptr || newest_->used == 0; }
    // Whether there was no memory for some change: a rollback then can't undo it.
    bool is_incomplete() const { return incomplete_; }

 private:
    enum class Kind : std::uint32_t { old_bytes = 1, delta, allocated, deferred_free };
    struct Trailer {
        void *address;
        std::uint32_t length;
        Kind kind;
    };
    static_assert(sizeof(Trailer) == 16);

    static constexpr std::size_t chunk_bytes = 65536 - 64;
    struct Chunk {
        std::unique_ptr<Chunk> previous;
        std::size_t used = 0;
        alignas(8) char bytes[chunk_bytes];
    };

    static std::size_t padded(std::uint32_t length) { return (length + 7U) / 8 * 8; }
    // A spare one or a new one; null: no memory.
    std::unique_ptr<Chunk> take_chunk();
    bool ensure_space(std::size_t bytes);
    bool append(Kind kind, const void *address, std::uint32_t length, const void *payload,
                std::uint32_t payload_length);
    // The last entry that ends at `end` of a chunk, and where it starts.
    static Trailer entry_before(const Chunk &chunk, std::size_t end, std::size_t &start);
    static void restore(const Trailer &trailer, const char *payload);
    void drop_newest();

    std::unique_ptr<Chunk> newest_;
    std::unique_ptr<Chunk> spare_;  // chunks of earlier transactions, a chain too
    std::uint32_t spares_ = 0;
    LoggedRanges logged_;
    std::uint64_t deferred_frees_ = 0;
    bool incomplete_ = false;
};

template <typename Release>
void UndoLog::roll_back(Release release) {
    for (; newest_ != nullptr; drop_newest()) {
        while (newest_->used > 0) {
            std::size_t start = 0;
            const Trailer trailer = entry_before(*newest_, newest_->used, start);
            restore(trailer, newest_->bytes + start);
            if (trailer.kind == Kind::allocated) release(trailer.address);
            newest_->used = start;
        }
    }
    clear();
}

template <typename Visit>
void UndoLog::each_deferred_free(Visit visit) const {
    std::uint64_t left = deferred_frees_;
    for (const Chunk *chunk = newest_.get(); chunk != nullptr && left > 0;
         chunk = chunk->previous.get()) {
        for (std::size_t end = chunk->used, start = 0; end > 0 && left > 0; end = start) {
            const Trailer trailer = entry_before(*chunk, end, start);
            if (trailer.kind != Kind::deferred_free) continue;
            visit(trailer.address);
            left -= 1;
        }
    }
}

}  // namespace tarnbase::runtime

#endif
