// SPDX-License-Identifier: Apache-2.0
// Attaching the engine to a handle, and what the handle's reads have told it.
#include "runtime/replication/attachment.h"

#include <cerrno>
#include <new>

#include "runtime/base/error_text.h"
#include "runtime/handle/handle.h"
#include "runtime/index/tree.h"
#include "runtime/replication/record_of.h"
#include "runtime/replication/ring.h"
#include "runtime/replication/table_vector.h"
#include "tarnbase/runtime.h"

using namespace tarn::runtime;

TableVector TableVector::of(kel_handle *handle, std::uint32_t tx_id, const kel_table *table,
                            std::uint32_t *err) {
    const Attachment *attached = private_part(handle).replication.get();
    const void *const *slots = nullptr;
    if (attached != nullptr) {
        attached->lookup(handle, tx_id, table->descriptor->luid, &slots, err);
    }
    if (slots == nullptr && *err == 0) *err = ENOENT;
    return *err == 0 ? TableVector(slots) : TableVector();
}

std::uint32_t kel_replication_attach(kel_handle *handle, kel_table_vector_lookup lookup) {
    Handle &whole = private_part(handle);
    if (lookup == nullptr) {
        whole.replication.reset();
        return 0;
    }
    if (!FrameRing(handle)) {
        if (const auto error = FrameRing::configure(handle, 0, 0)) return error;
    }
    if (whole.replication == nullptr) whole.replication.reset(new (std::nothrow) Attachment);
    if (whole.replication == nullptr) return fail(ENOMEM, "kel_replication_attach: no memory");
    whole.replication->lookup = lookup;
    return 0;
}

std::uint32_t kel_replication_configure(kel_handle *handle, std::uint64_t frames,
                                        std::uint64_t bytes) {
    return FrameRing::configure(handle, frames, bytes);
}

std::uint64_t kel_handle_cache_reports(const kel_handle *handle) {
    return private_part(handle).cache_reports;
}

std::uint64_t kel_replication_reads(const kel_handle *handle, const kel_record *record) {
    const Attachment *attached = private_part(handle).replication.get();
    if (attached == nullptr) return 0;
    const ReadCache::Entry *entry = attached->reads.find(record);
    return entry != nullptr ? entry->reads : 0;
}

std::uint32_t kel_replication_for_each_read(kel_handle *handle, kel_table *table,
                                            kel_replication_read_function function, void *context) {
    struct Walk {
        const Attachment *attached;
        kel_replication_read_function function;
        void *context;
    } walk{private_part(handle).replication.get(), function, context};
    if (walk.attached == nullptr) return 0;
    // Only the index knows which of the addresses remembered are records yet.
    const auto visit = [](kel_index_node *node, void *argument) -> std::uint32_t {
        const auto &wanted = *static_cast<const Walk *>(argument);
        kel_record *record = record_of(node);
        const ReadCache::Entry *entry = wanted.attached->reads.find(record);
        if (entry == nullptr) return 0;
        return wanted.function(record, entry->vector, entry->reads, wanted.context);
    };
    return tree_walk(table->index_root, visit, &walk);
}
