/* SPDX-License-Identifier: Apache-2.0 */
// Finishing pending destructions: only the engine may delete from a replicated table.
#ifndef TARNBASE_RUNTIME_REPLICATION_DESTROY_H
#define TARNBASE_RUNTIME_REPLICATION_DESTROY_H

#include <cstdint>

#include "tarnbase/handle.h"
#include "tarnbase/record.h"

namespace tarnbase::runtime {

struct Attachment;

// Destroys every record with a pending destruction and counts them in `*finished`. Returns
// 0 or the first error, and sets its text. `attached` may be null.
std::uint32_t finish_destroys(kel_handle *handle, std::uint32_t tx_id, Attachment *attached,
                              std::uint32_t *finished);

}  // namespace tarnbase::runtime

#endif
