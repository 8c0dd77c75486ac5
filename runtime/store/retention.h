/* SPDX-License-Identifier: Apache-2.0 */
// What is kept of a store's log and of its checkpoints when there is a newer checkpoint.
#ifndef TARNBASE_RUNTIME_STORE_RETENTION_H
#define TARNBASE_RUNTIME_STORE_RETENTION_H

#include <cstdint>

#include "runtime/checkpoint/checkpoint.h"
#include "runtime/store/follower.h"
#include "tarnbase/journal.h"

namespace tarnbase::runtime {

// Removes what isn't kept before the newest checkpoint, which is of `position`, in the segment that
// begins at `segment`, and compresses the log before that one, if the settings say so. The caller
// has the checkpoint lock.
void remove_old_files(StoreFolder &store, const kel_journal_settings &settings,
                      std::uint64_t position, std::uint64_t segment);

// Removes everything before the newest checkpoint, to have disk space, and notes the gap. False:
// there was nothing.
bool give_up_history(StoreFolder &store);

}  // namespace tarnbase::runtime

#endif
