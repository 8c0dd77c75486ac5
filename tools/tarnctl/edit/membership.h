// SPDX-License-Identifier: Apache-2.0
//
// Records that enter a table and leave it.
#ifndef TARNCTL_EDIT_MEMBERSHIP_H
#define TARNCTL_EDIT_MEMBERSHIP_H

#include <cstdint>

#include "model/instance.h"
#include "model/record.h"
#include "model/store.h"

namespace tarnctl {

// Whether an insert in the table goes to the replication stream too.
bool is_armed(const Instance &instance);
// Attaches the store's session to that stream. Failure `store`.
void attach_replication(const Store &store, const Instance &instance);

// Deletes a record from its table and destroys it. Failure `store` if only the table's replication
// engine does so.
void remove_record(const Store &store, const Instance &instance, const Record &record,
                   uint32_t tx_id);

}  // namespace tarnctl

#endif
