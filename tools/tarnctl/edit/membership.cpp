// SPDX-License-Identifier: Apache-2.0
#include "edit/membership.h"

#include <fmt/core.h>

#include <cerrno>

#include "base/failure.h"

namespace tarnctl {

bool is_armed(const Instance &instance) {
    return instance.block->replication_marked != 0 && instance.block->write_cursor_armed != 0;
}

void attach_replication(const Store &store, const Instance &instance) {
    const auto attached = store.session().try_attach_replication();
    need(attached ? 0 : attached.error().number(),
         fmt::format("attaching to the replication of {}", instance.full_name()));
}

void remove_record(const Store &store, const Instance &instance, const Record &record,
                   uint32_t tx_id) {
    if (instance.block->replication_marked != 0)
        throw Failure(Exit::store,
                      fmt::format("{} is marked for replication: only its replication "
                                  "engine deletes its records (error {} of the library)",
                                  instance.full_name(), EINVAL));
    // A deletion is counted for the thread's tenant.
    const tarn::tenant_scope tenant(record.tenant());
    uint32_t err = 0;
    instance.table->erase(store.handle(), tx_id, instance.block, record.record, &err);
    if (err == 0) instance.table->destroy_record(store.handle(), tx_id, record.record, &err);
    need(err, fmt::format("{}: deleting a record", instance.full_name()));
}

}  // namespace tarnctl
