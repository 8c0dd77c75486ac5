/* SPDX-License-Identifier: Apache-2.0 */
// Releasing a record, whether it is in its index or not. A record that can't be removed from
// its index is not destroyed, since destroying it would free the block regardless.
#ifndef TARNBASE_RUNTIME_REPLICATION_RELEASE_H
#define TARNBASE_RUNTIME_REPLICATION_RELEASE_H

#include <cstdint>

#include "tarnbase/handle.h"
#include "tarnbase/record.h"

namespace tarnbase::runtime {

// `vector` has the operations of the record's table. Returns 0 or an errno number, and sets
// its text.
std::uint32_t release_record(kel_handle *handle, std::uint32_t tx_id, const void *const *vector,
                             kel_record *record);

}  // namespace tarnbase::runtime

#endif
