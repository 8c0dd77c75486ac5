/* SPDX-License-Identifier: Apache-2.0 */
// What a handle has while the replication engine is attached to it.
#ifndef TARNBASE_RUNTIME_REPLICATION_ATTACHMENT_H
#define TARNBASE_RUNTIME_REPLICATION_ATTACHMENT_H

#include "runtime/replication/read_cache.h"
#include "tarnbase/embedded.h"

namespace tarnbase::runtime {

struct Attachment {
    kel_table_vector_lookup lookup = nullptr;
    ReadCache reads;
};

// Calls `function` with each record of the table that the read cache has, until a call
// returns nonzero. Returns the last call's result.
std::uint32_t for_each_read(const Attachment &attached, kel_table *table,
                            kel_replication_read_function function, void *context);

}  // namespace tarnbase::runtime

#endif
