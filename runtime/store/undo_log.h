/* SPDX-License-Identifier: Apache-2.0 */
// The undo log of a transaction: pages of the store, chained from the newest to the
// oldest. Entries follow each other upward in a page; each ends with a trailer, so
// that they can be read backwards, newest first:
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
// A page counts an entry once it is complete, and drops it once it is undone. Addresses
// are valid in every process that maps the store. Only a delta may have an address outside
// the store, valid in the process that made it; other processes skip it.
#ifndef TARNBASE_RUNTIME_STORE_UNDO_LOG_H
#define TARNBASE_RUNTIME_STORE_UNDO_LOG_H

#include <cstdint>

#include "runtime/arena/page.h"

struct kel_store;

namespace tarnbase::runtime {

struct TransactionSlot;

struct LogPage {
    Page head;  // `used` counts from the page's first byte
    LogPage *previous;
};
static_assert(sizeof(LogPage) == 24);

// Which addresses a rollback uses: those of this process too, or only the store's.
enum class UndoScope { this_process, store_only };

// A transaction's log for the duration of a call.
class UndoLog {
 public:
    UndoLog(kel_store &store, TransactionSlot &slot) : store_(store), slot_(slot) {}

    void old_bytes(const void *address, std::uint64_t length);
    void delta(const void *address, std::int32_t delta);
    // Reserves the space of the next `allocated` or `deferred_free`. False: there is none.
    bool reserve();
    void allocated(const void *block);
    void deferred_free(const void *block);

    // Undoes the changes, newest first, and empties the log.
    void roll_back(UndoScope scope);
    // Frees the blocks of deferred frees, and empties the log.
    void commit();

 private:
    enum class Kind : std::uint32_t { old_bytes = 1, delta, allocated, deferred_free };
    struct Trailer {
        void *address;
        std::uint32_t length;
        Kind kind;
    };
    static_assert(sizeof(Trailer) == 16);

    bool ensure_space(std::uint64_t bytes);
    void append(Kind kind, const void *address, std::uint32_t length, const void *payload,
                std::uint32_t payload_length);
    template <typename Visitor>
    void drain_newest_page(Visitor visit);
    void release_newest_page();
    void undo_entry(const Trailer &trailer, const char *payload, UndoScope scope);

    kel_store &store_;
    TransactionSlot &slot_;
};

}  // namespace tarnbase::runtime

#endif
