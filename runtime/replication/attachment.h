/* SPDX-License-Identifier: Apache-2.0 */
// What a handle knows while the replication engine is attached to it.
#ifndef TARNBASE_RUNTIME_REPLICATION_ATTACHMENT_H
#define TARNBASE_RUNTIME_REPLICATION_ATTACHMENT_H

#include "runtime/replication/read_cache.h"
#include "tarnbase/embedded.h"

namespace tarn::runtime {

struct Attachment {
    kel_table_vector_lookup lookup = nullptr;
    ReadCache reads;
};

}  // namespace tarn::runtime

#endif
