/* SPDX-License-Identifier: Apache-2.0 */
// Checks what the allocator keeps: page heads, bitmaps, sets of pages, counts, and that free bytes
// are zero.
#ifndef TARNBASE_RUNTIME_CHECK_ARENA_H
#define TARNBASE_RUNTIME_CHECK_ARENA_H

#include <functional>

#include "runtime/check/findings.h"
#include "runtime/store/image.h"

namespace tarnbase::runtime {

// The numbers of the store's header. False: a number is wrong that everything else relies on.
bool check_header(const Image &image, Findings &findings);

void check_arena(const Image &image, Findings &findings);

// Calls `visit` with each allocated block.
void each_block(const Image &image, const std::function<void(Allocator::Extent)> &visit);

}  // namespace tarnbase::runtime

#endif
