/* SPDX-License-Identifier: Apache-2.0 */
// Records that came from hostile bytes, in their tables.
#ifndef TARNBASE_TESTS_FUZZ_TABLED_H
#define TARNBASE_TESTS_FUZZ_TABLED_H

#include "frame/schema.h"
#include "tests/fuzz/round.h"

namespace tarnbase::fuzz {

// Whether the record has the objects that its table orders by.
bool is_whole(const Table &model, const kel_record *record);

// Every form of a record, and forms of its key. `portion` cuts buffers.
void use_forms(const Table &model, const Round &round, kel_record *record, u8 portion);

// Inserts the record. False: its key already exists.
bool insert(const Table &model, const Round &round, kel_record *record);
// Requires that searches for the key of a record in the index find it.
void find(const Table &model, const Round &round, const kel_record *record);
// Requires that a walk visits as many records as the table counts, in order.
void walk(const Table &model, const Round &round);

// Removes the record from its index, if it is in one, and destroys it.
void destroy(const Table &model, const Round &round, kel_record *record);

}  // namespace tarnbase::fuzz

#endif
