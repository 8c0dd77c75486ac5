/* SPDX-License-Identifier: Apache-2.0 */
// Checks the files of a store: the control file's numbers, the checksums of the newest checkpoint,
// and each frame of the log after it.
#ifndef TARNBASE_RUNTIME_CHECK_FILES_H
#define TARNBASE_RUNTIME_CHECK_FILES_H

#include "runtime/check/findings.h"
#include "runtime/store/follower.h"

namespace tarnbase::runtime {

// Writers may go on meanwhile. `follower` has the position that this process has applied.
void check_files(const StoreFolder &store, const Follower &follower, Findings &findings);

}  // namespace tarnbase::runtime

#endif
