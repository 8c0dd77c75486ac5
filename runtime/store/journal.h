/* SPDX-License-Identifier: Apache-2.0 */
// The journal of a store, and the durability of its commits, as a part of what it shares.
#ifndef TARNBASE_RUNTIME_STORE_JOURNAL_H
#define TARNBASE_RUNTIME_STORE_JOURNAL_H

#include <cstdint>

#include "runtime/store/follower.h"
#include "tarnbase/journal.h"

namespace tarnbase::runtime {

// Writes all files of a store to the disk, with their names and the store's own. Returns 0 or sets
// the error text.
std::uint32_t sync_files(const StoreFolder &store);

// Fills in the description, except for the settings.
void describe_journal(const StoreFolder &store, kel_journal_description &description);

// The compressed segments of the log.
kel_journal_compression describe_compression(const StoreFolder &store);

}  // namespace tarnbase::runtime

#endif
