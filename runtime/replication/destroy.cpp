// SPDX-License-Identifier: Apache-2.0
// Finishing pending destructions: the engine alone may delete from a replicated table.
#include "runtime/base/error_text.h"
#include "runtime/handle/handle.h"
#include "runtime/index/tree.h"
#include "runtime/replication/record_of.h"
#include "runtime/replication/table_vector.h"
#include "runtime/store/store.h"
#include "tarnbase/runtime.h"

using namespace tarn::runtime;

namespace {

// The handle is the engine's, and the thread its record's tenant's, while this lives.
class EngineScope {
 public:
    explicit EngineScope(kel_handle *handle)
        : handle_(handle), active_(handle->replication_engine_active) {
        mt_get_tenant_id(&tenant_);
        handle->replication_engine_active = 1;
    }
    ~EngineScope() {
        kel_thread_set_tenant(tenant_);
        handle_->replication_engine_active = active_;
    }
    EngineScope(const EngineScope &) = delete;
    EngineScope &operator=(const EngineScope &) = delete;

 private:
    kel_handle *handle_;
    std::uint32_t active_;
    std::uint16_t tenant_ = 0;
};

struct Sweep {
    kel_handle *handle;
    std::uint32_t tx_id;
    kel_table *table;
    TableVector vector;  // asked for when a record needs it
    std::uint32_t finished;
};

// 0, or an error number: the record is where it was.
std::uint32_t finish(Sweep &sweep, kel_record *record) {
    std::uint32_t error = 0;
    if (!sweep.vector) {
        sweep.vector = TableVector::of(sweep.handle, sweep.tx_id, sweep.table, &error);
        if (error != 0) return error;
    }
    // The counter that goes down is to be the one that went up.
    kel_thread_set_tenant(record->tenant_id);
    sweep.vector.remove(sweep.handle, sweep.tx_id, sweep.table, record, &error);
    if (error != 0) return error;
    sweep.finished += 1;
    private_part(sweep.handle).replication->reads.forget(record);
    sweep.vector.destroy_record(sweep.handle, sweep.tx_id, record, &error);
    return error;
}

std::uint32_t visit(kel_index_node *node, void *context) {
    kel_record *record = record_of(node);
    if ((record->flags & KEL_RECORD_PENDING_DESTROY) == 0) return 0;
    return finish(*static_cast<Sweep *>(context), record);
}

}  // namespace

std::uint32_t kel_replication_finish_destroys(kel_handle *handle, std::uint32_t tx_id,
                                              std::uint32_t *finished) {
    const EngineScope scope(handle);
    std::uint32_t first_error = 0;
    *finished = 0;
    for (kel_table *table = store_of(handle).header->tables.first; table != nullptr;
         table = table->toc_next) {
        if (table->replication_marked == 0) continue;
        Sweep sweep{handle, tx_id, table, {}, 0};
        const std::uint32_t error = tree_walk(table->index_root, visit, &sweep);
        *finished += sweep.finished;
        if (error == 0 || first_error != 0) continue;
        first_error = fail(error, "replication: a record of %s can't be destroyed: error %u",
                           table->descriptor->name, error);
    }
    return first_error;
}
