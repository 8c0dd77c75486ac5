// SPDX-License-Identifier: Apache-2.0
// Events on records: the callbacks that the runtime calls, and the handlers that
// serve when the program has none of its own.
#include "frame/conventions.h"
#include "table/table.h"

namespace tarnbase::table {

void record_callback(kel_handle *handle, std::uint32_t tx_id, void *table, void *record,
                     std::uint32_t *err, RecordHandler handler) {
    if (enter(handle, err)) handler(handle, tx_id, table, record, err);
}

void dm_callback(kel_handle *handle, std::uint32_t tx_id, void *record, std::uint32_t *err,
                 DmHandler handler) {
    if (enter(handle, err)) handler(handle, tx_id, record, err);
}

void grouping_callback(kel_handle *handle, std::uint32_t tx_id, void *item, std::uint32_t *err,
                       void *arg1, void *arg2, GroupingHandler handler) {
    if (enter(handle, err)) handler(handle, tx_id, item, err, arg1, arg2);
}

void free_callback(kel_handle *handle, std::uint32_t tx_id, void *item, std::uint32_t *err,
                   void *arg1, FreeHandler handler) {
    if (enter(handle, err)) handler(handle, tx_id, item, err, arg1);
}

void default_handler(Model model, const char *event, std::uint32_t *err) {
    *err = 0;
    trace_table(KEL_TRACE_INFO, "(info): weak default handler tarnbase_%s_record %s handler called",
                model.name, event);
}

void default_dm_handler(Model model, const char *event, kel_handle *handle, std::uint32_t tx_id,
                        void *record, std::uint32_t *err, RecordHandler handler) {
    default_handler(model, event, err);
    handler(handle, tx_id, nullptr, record, err);
}

}  // namespace tarnbase::table
