/* SPDX-License-Identifier: Apache-2.0 */
// Checks the ring of the replication stream.
#ifndef TARNBASE_RUNTIME_CHECK_RING_H
#define TARNBASE_RUNTIME_CHECK_RING_H

#include "runtime/check/blocks.h"

namespace tarnbase::runtime {

// `ring` is the value of the ring's key.
void check_ring(Blocks &blocks, Findings &findings, const void *ring);

}  // namespace tarnbase::runtime

#endif
