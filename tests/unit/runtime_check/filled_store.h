/* SPDX-License-Identifier: Apache-2.0 */
// A store with a little of everything: tables by name and by id, keyed by a text, a number and a
// structure; records of two tenants and three sources; long and short texts; objects with and
// without a state block; identities, trace correlation, a replication stream, a program's own key.
#ifndef TARNBASE_TESTS_UNIT_RUNTIME_CHECK_FILLED_STORE_H
#define TARNBASE_TESTS_UNIT_RUNTIME_CHECK_FILLED_STORE_H

#include <cstdint>

#include "tarnbase/embedded.h"

namespace tarn::test {

// Fills a new store, with tables of so many records. Throws std::runtime_error.
void fill_store(kel_store *store, std::uint32_t records = 25);

}  // namespace tarn::test

#endif
