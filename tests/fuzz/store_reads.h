/* SPDX-License-Identifier: Apache-2.0 */
// Reads everything in a store.
#ifndef TARNBASE_TESTS_FUZZ_STORE_READS_H
#define TARNBASE_TESTS_FUZZ_STORE_READS_H

#include "tarnbase/embedded.h"
#include "tests/fuzz/targets.h"

namespace tarnbase::fuzz {

// Each table, each record in each form, and each state flag, with a handle in a mode of state
// tracking. Whatever an operation reports, it may not access anything outside of the store.
void read_everything(kel_store *store, u32 mode);

}  // namespace tarnbase::fuzz

#endif
