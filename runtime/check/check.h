/* SPDX-License-Identifier: Apache-2.0 */
// Checks a store: its image in this process, and its files.
#ifndef TARNBASE_RUNTIME_CHECK_CHECK_H
#define TARNBASE_RUNTIME_CHECK_CHECK_H

#include "runtime/check/blocks.h"
#include "runtime/check/findings.h"
#include "runtime/check/mends.h"
#include "runtime/store/store.h"

namespace tarnbase::runtime {

// Everything. Nothing is changed. Throws std::bad_alloc.
void check_store(const kel_store &store, kel_table_vector_lookup lookup, Findings &findings,
                 const Blocks::Progress &progress);

// The content alone, and what of it can be mended.
void check_content(const Image &image, kel_table_vector_lookup lookup, Findings &findings,
                   const Blocks::Progress &progress, Mends &mends);

// The part that an opening relies on: the header, the type map, the table list and the keys.
void check_roots(const Image &image, Findings &findings);

}  // namespace tarnbase::runtime

#endif
