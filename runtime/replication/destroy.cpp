// SPDX-License-Identifier: Apache-2.0
#include "runtime/replication/destroy.h"

#include "runtime/base/error_text.h"
#include "runtime/index/key_index.h"
#include "runtime/replication/attachment.h"
#include "runtime/replication/record_of.h"
#include "runtime/replication/table_vector.h"
#include "runtime/store/store_handle.h"
#include "runtime/trace/thread.h"

namespace tarnbase::runtime {

namespace {

// Makes the engine the user of the handle, and restores this and the thread's tenant.
class EngineScope {
 public:
    explicit EngineScope(kel_handle *handle)
        : handle_(handle),
          active_(handle->replication_engine_active),
          tenant_(thread_context.tenant) {
        handle->replication_engine_active = 1;
    }
    ~EngineScope() {
        thread_context.tenant = tenant_;
        handle_->replication_engine_active = active_;
    }
    EngineScope(const EngineScope &) = delete;
    EngineScope &operator=(const EngineScope &) = delete;

 private:
    kel_handle *handle_;
    std::uint32_t active_;
    std::uint16_t tenant_;
};

struct Sweep {
    kel_handle *handle;
    std::uint32_t tx_id;
    Attachment *attached;
    kel_table *table;
    TableVector vector;  // null until a record needs it
    std::uint32_t finished;
};

// Returns 0 or an error number, and the record is still in its index.
std::uint32_t finish(Sweep &sweep, kel_record *record) {
    std::uint32_t error = 0;
    if (!sweep.vector) {
        sweep.vector =
            TableVector::of(sweep.handle, sweep.tx_id, sweep.attached, sweep.table, &error);
        if (error != 0) return error;
    }
    // The counters to decrement are those of the record's tenant.
    thread_context.tenant = record->tenant_id;
    sweep.vector.remove(sweep.handle, sweep.tx_id, sweep.table, record, &error);
    if (error != 0) return error;
    sweep.finished += 1;
    sweep.attached->reads.remove(record);
    sweep.vector.destroy_record(sweep.handle, sweep.tx_id, record, &error);
    return error;
}

std::uint32_t visit(kel_index_node *node, void *context) {
    kel_record *record = record_of(node);
    if ((record->flags & KEL_RECORD_PENDING_DESTROY) == 0) return 0;
    return finish(*static_cast<Sweep *>(context), record);
}

}  // namespace

std::uint32_t finish_destroys(kel_handle *handle, std::uint32_t tx_id, Attachment *attached,
                              std::uint32_t *finished) {
    const EngineScope scope(handle);
    std::uint32_t first_error = 0;
    *finished = 0;
    for (kel_table *table = store_of(handle).header->tables.first; table != nullptr;
         table = table->toc_next) {
        if (table->replication_marked == 0) continue;
        Sweep sweep{handle, tx_id, attached, table, {}, 0};
        const std::uint32_t error = index_walk(table->index_root, visit, &sweep);
        *finished += sweep.finished;
        if (error == 0 || first_error != 0) continue;
        first_error = fail(error, "replication: a record of %s can't be destroyed: error %u",
                           table->descriptor->name, error);
    }
    return first_error;
}

}  // namespace tarnbase::runtime
