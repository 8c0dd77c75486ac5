/* SPDX-License-Identifier: Apache-2.0 */
// Refusing to open a table by id. The service that finds the open to be wrong has no
// result to report it with, so the allocation of the table's block fails instead.
#ifndef TARNBASE_RUNTIME_STORE_TABLE_REFUSAL_H
#define TARNBASE_RUNTIME_STORE_TABLE_REFUSAL_H

namespace tarnbase::runtime {

// Refuses the table block that this thread's open is about to allocate.
void refuse_table_block();
// Every open of a table begins with this.
void clear_table_refusal();
// Whether there is a refusal. Clears it.
bool take_table_refusal();

}  // namespace tarnbase::runtime

#endif
