// SPDX-License-Identifier: Apache-2.0
// Events on records: the callbacks that the runtime calls, and the default handlers, which
// are called if the program defines none.
#include "frame/conventions.h"
#include "table/table.h"

namespace tarnbase::table {

void record_callback(const Call &call, void *table, void *record, RecordHandler handler) {
    if (call.enter()) handler(call.handle, call.tx_id, table, record, call.err);
}

void dm_callback(const Call &call, void *record, DmHandler handler) {
    if (call.enter()) handler(call.handle, call.tx_id, record, call.err);
}

void grouping_callback(const Call &call, void *item, void *arg1, void *arg2,
                       GroupingHandler handler) {
    if (call.enter()) handler(call.handle, call.tx_id, item, call.err, arg1, arg2);
}

void free_callback(const Call &call, void *item, void *arg1, FreeHandler handler) {
    if (call.enter()) handler(call.handle, call.tx_id, item, call.err, arg1);
}

void default_handler(Model model, const char *event, std::uint32_t *err) {
    *err = 0;
    trace_table(KEL_TRACE_INFO, "(info): weak default handler tarnbase_%s_record %s handler called",
                model.name, event);
}

void default_dm_handler(Model model, const char *event, const Call &call, void *record,
                        RecordHandler handler) {
    default_handler(model, event, call.err);
    handler(call.handle, call.tx_id, nullptr, record, call.err);
}

}  // namespace tarnbase::table
