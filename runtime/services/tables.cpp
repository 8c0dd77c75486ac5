// SPDX-License-Identifier: Apache-2.0
#include "runtime/catalog/table_ids.h"
#include "runtime/store/store_handle.h"
#include "runtime/store/table_refusal.h"
#include "tarnbase/runtime.h"

using namespace tarnbase::runtime;

// The list's anchor is in the store's header: it is always there. Every open of a table
// begins with this call.
kel_table_list *kellib_database_table_toc_create(kel_handle *handle, std::uint32_t,
                                                 std::uint32_t *err) {
    clear_table_refusal();
    return *err != 0 ? nullptr : &store_of(handle).header->tables;
}

kel_table *tbi_rb_tree_LM_RB_FIND(void *arena, std::uint32_t, kel_table_id_tree *tree_head,
                                  const kel_table *block, void *) {
    return find_table_id(handle_of(arena), tree_head, block);
}

void tbi_rb_tree_LM_RB_INSERT(void *arena, std::uint32_t tx_id, kel_table_id_tree *tree_head,
                              kel_table *block) {
    insert_table_id({handle_of(arena), tx_id}, tree_head, block);
}

void tbi_rb_tree_LM_RB_REMOVE(void *arena, std::uint32_t tx_id, kel_table_id_tree *tree_head,
                              kel_table *block) {
    remove_table_id({handle_of(arena), tx_id}, tree_head, block);
}
