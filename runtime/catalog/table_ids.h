/* SPDX-License-Identifier: Apache-2.0 */
// The tree of a table's blocks that were opened by id.
//
// The library finds a table type's tree once in a process, so with a second store it passes
// the first store's tree. Each function checks the tree and traces the wrong one.
#ifndef TARNBASE_RUNTIME_CATALOG_TABLE_IDS_H
#define TARNBASE_RUNTIME_CATALOG_TABLE_IDS_H

#include <cstdint>

#include "runtime/base/announce.h"
#include "tarnbase/record.h"

namespace tarnbase::runtime {

// The block with the table_id of `block`, or null. In a wrong tree the open is refused.
kel_table *find_table_id(const kel_handle *handle, kel_table_id_tree *tree, const kel_table *block);
void insert_table_id(WriteLog log, kel_table_id_tree *tree, kel_table *block);
void remove_table_id(WriteLog log, kel_table_id_tree *tree, kel_table *block);

}  // namespace tarnbase::runtime

#endif
