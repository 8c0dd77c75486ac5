// SPDX-License-Identifier: Apache-2.0
// The tree of a table's blocks that were opened by id.
#include <cstddef>

#include "runtime/index/tree.h"
#include "runtime/store/store.h"

using namespace tarn::runtime;

namespace {

kel_table *table_of(const kel_index_node *node) {
    const char *address = reinterpret_cast<const char *>(node) - offsetof(kel_table, id_node);
    return reinterpret_cast<kel_table *>(const_cast<char *>(address));
}

std::uint32_t compare_ids(const kel_index_node *a, const kel_index_node *b) {
    return order_of(table_of(a)->table_id, table_of(b)->table_id);
}

}  // namespace

kel_table *tbi_rb_tree_LM_RB_FIND(void *, std::uint32_t, kel_table_id_tree *tree_head,
                                  const kel_table *block, void *) {
    const kel_index_node *found = tree_find(tree_head->root, &block->id_node, compare_ids);
    return found != nullptr ? table_of(found) : nullptr;
}

void tbi_rb_tree_LM_RB_INSERT(void *arena, std::uint32_t tx_id, kel_table_id_tree *tree_head,
                              kel_table *block) {
    tree_insert(static_cast<kel_store *>(arena), tx_id, &tree_head->root, &block->id_node,
                compare_ids);
}

void tbi_rb_tree_LM_RB_REMOVE(void *arena, std::uint32_t tx_id, kel_table_id_tree *tree_head,
                              kel_table *block) {
    tree_remove(static_cast<kel_store *>(arena), tx_id, &tree_head->root, &block->id_node);
}
