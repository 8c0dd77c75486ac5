/* SPDX-License-Identifier: Apache-2.0 */
// The undo log of a transaction, in this process's own memory: chunks chained from the newest
// to the oldest. Entries of words of 8 bytes follow each other upward in a chunk. The last word of
// each has its kind in the lowest 4 bits, so that they can be read backwards, newest first:
//
//   kind                words                               what undoing does
//   1 old bytes         the bytes, padded; the address;     copies the bytes back to the address
//                       16 * length + kind
//   2 delta             the address; 16 * delta + kind      subtracts the delta from the 64-bit
//                                                           counter at the address
//   3 allocated         address + kind                      frees the block at the address
//   4 deferred free     address + kind                      nothing; a commit frees the block at
//                                                           the address
//
// Only a delta may have an address outside the store. Deltas of a counter are added up in one
// entry, as long as it is among the last ones.
#ifndef TARNBASE_RUNTIME_STORE_UNDO_LOG_H
#define TARNBASE_RUNTIME_STORE_UNDO_LOG_H

#include <array>
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
    struct Entry {
        Kind kind;
        std::uint32_t number;  // length, or delta
        void *address;
        std::size_t start;  // in its chunk
    };
    // An entry of a delta, whose last word is `word`.
    struct Delta {
        const void *address;
        char *word;
    };

    static constexpr unsigned number_at = 4;
    static constexpr std::uint64_t kind_mask = (1ULL << number_at) - 1;

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
    // The place of an entry of so many words, which are then stored; null: no memory.
    char *extend(std::size_t bytes);
    void append_block(Kind kind, const void *block);
    void append_old_bytes(const char *bytes, std::uint32_t length);
    bool add_to_known(const void *address, std::int32_t delta);
    void forget_deltas(const char *bytes, std::uint64_t length);
    // The entry that ends at `end` of a chunk.
    static Entry entry_before(const Chunk &chunk, std::size_t end);
    static void restore(const Entry &entry, const char *payload);
    void drop_newest();

    std::unique_ptr<Chunk> newest_;
    std::unique_ptr<Chunk> spare_;  // chunks of earlier transactions, a chain too
    std::uint32_t spares_ = 0;
    LoggedRanges logged_;
    std::array<Delta, 8> deltas_{};  // the last ones
    std::size_t next_delta_ = 0;
    std::uint64_t deferred_frees_ = 0;
    bool incomplete_ = false;
};

template <typename Release>
void UndoLog::roll_back(Release release) {
    for (; newest_ != nullptr; drop_newest()) {
        while (newest_->used > 0) {
            const Entry entry = entry_before(*newest_, newest_->used);
            restore(entry, newest_->bytes + entry.start);
            if (entry.kind == Kind::allocated) release(entry.address);
            newest_->used = entry.start;
        }
    }
    clear();
}

template <typename Visit>
void UndoLog::each_deferred_free(Visit visit) const {
    std::uint64_t left = deferred_frees_;
    for (const Chunk *chunk = newest_.get(); chunk != nullptr && left > 0;
         chunk = chunk->previous.get()) {
        for (std::size_t end = chunk->used; end > 0 && left > 0;) {
            const Entry entry = entry_before(*chunk, end);
            end = entry.start;
            if (entry.kind != Kind::deferred_free) continue;
            visit(entry.address);
            left -= 1;
        }
    }
}

}  // namespace tarnbase::runtime

#endif
