// SPDX-License-Identifier: Apache-2.0
#include "runtime/replication/attachment.h"

#include "runtime/base/errors.h"
#include "runtime/index/key_index.h"
#include "runtime/replication/record_of.h"
#include "runtime/replication/table_vector.h"

namespace tarnbase::runtime {

TableVector TableVector::of(kel_handle *handle, std::uint32_t tx_id, const Attachment *attached,
                            const kel_table *table, std::uint32_t *err) {
    const void *const *slots = nullptr;
    if (attached != nullptr) {
        attached->lookup(handle, tx_id, table->descriptor->luid, &slots, err);
    }
    if (slots == nullptr && *err == 0) *err = ENOENT;
    return *err == 0 ? TableVector(slots) : TableVector();
}

std::uint32_t for_each_read(const Attachment &attached, kel_table *table,
                            kel_replication_read_function function, void *context) {
    struct Walk {
        const Attachment &attached;
        kel_replication_read_function function;
        void *context;
    } walk{attached, function, context};
    // An address in the cache may no longer be a record: only the index has the records.
    const auto visit = [](kel_index_node *node, void *argument) -> std::uint32_t {
        const auto &self = *static_cast<const Walk *>(argument);
        kel_record *record = record_of(node);
        const ReadCache::Entry *entry = self.attached.reads.find(record);
        if (entry == nullptr) return 0;
        return self.function(record, entry->vector, entry->reads, self.context);
    };
    return index_walk(table->index_root, visit, &walk);
}

}  // namespace tarnbase::runtime
