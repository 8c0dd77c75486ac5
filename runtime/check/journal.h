/* SPDX-License-Identifier: Apache-2.0 */
// Checks what a store's journal keeps: the older checkpoints, and the log that leads from the
// oldest to the newest one.
#ifndef TARNBASE_RUNTIME_CHECK_JOURNAL_H
#define TARNBASE_RUNTIME_CHECK_JOURNAL_H

#include "runtime/check/findings.h"
#include "runtime/store/follower.h"

namespace tarnbase::runtime {

// A damaged file is a finding, and the check goes on with the next one. Writers may go on
// meanwhile: what they remove isn't checked. Throws std::bad_alloc.
void check_journal(const StoreFolder &store, Findings &findings);

}  // namespace tarnbase::runtime

#endif
