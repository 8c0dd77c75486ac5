/* SPDX-License-Identifier: Apache-2.0 */
// Recovery after the machine was started again. Only what was written to the disk is there, in any
// order: the words of the control file, and each page of the log, may be older than the others.
#ifndef TARNBASE_RUNTIME_STORE_RESTART_H
#define TARNBASE_RUNTIME_STORE_RESTART_H

#include <cstdint>

#include "runtime/control/writer_lock.h"
#include "runtime/store/follower.h"

namespace tarnbase::runtime {

// If the control file isn't of this start of the machine: finds the newest checkpoint that is
// whole and the frames that follow it, removes what comes after them, and sets the control file.
// Returns 0, or sets the error text: EBADMSG no checkpoint is whole.
std::uint32_t recover_after_restart(StoreFolder &store, WriterLock &lock);

}  // namespace tarnbase::runtime

#endif
