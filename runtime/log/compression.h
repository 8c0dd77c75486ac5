/* SPDX-License-Identifier: Apache-2.0 */
// Which segments of a log are compressed. There is always a whole one: the compressed form has its
// name on the disk before the plain one is removed, and as long as there are both, only the plain
// one counts.
#ifndef TARNBASE_RUNTIME_LOG_COMPRESSION_H
#define TARNBASE_RUNTIME_LOG_COMPRESSION_H

#include <atomic>
#include <cstdint>

#include "runtime/log/store_id.h"

namespace tarnbase::runtime {

// Compresses the segments that begin before `end`, and removes what a killed process left of that.
// One that can't be compressed stays as it is. Steps are counted in `progress`. Requires: nothing
// is written to these segments any more, and the caller has the checkpoint lock.
void compress_segments(int folder, const StoreId &id, std::uint64_t end,
                       std::atomic<std::uint64_t> &progress);

// Makes the segment that begins at `position` a plain one, to continue in it. Returns 0, also if it
// is plain, or an errno number: EBADMSG it is damaged. Requires: this process has the writer's
// lock.
std::uint32_t restore_segment(int folder, const StoreId &id, std::uint64_t position);

}  // namespace tarnbase::runtime

#endif
