/* SPDX-License-Identifier: Apache-2.0 */
// Refusing an open of a table on the way. The service that sees that an open is wrong has no
// result to say so: the open ends where it gets no block for its table.
#ifndef TARNBASE_RUNTIME_STORE_TABLE_LIST_H
#define TARNBASE_RUNTIME_STORE_TABLE_LIST_H

namespace tarn::runtime {

// Refuses the block that the open which runs in this thread is going to ask for.
void refuse_table_block();
// Whether it is to be refused. Clears the refusal.
bool takes_refusal_of_table_block();

}  // namespace tarn::runtime

#endif
