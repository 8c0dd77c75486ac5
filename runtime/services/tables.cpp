// SPDX-License-Identifier: Apache-2.0
#include "runtime/catalog/table_ids.h"
#include "runtime/store/store_handle.h"
#include "runtime/store/table_refusal.h"
#include "tarnbase/runtime.h"

using namespace tarnbase::runtime;

namespace {

// The library changes the links of the list without an announcement.
void note_table_list(kel_store &store) {
    const kel_table_list &list = store.header->tables;
    store.note_bytes(&list, sizeof list);
    for (const kel_table *table = list.first; table != nullptr; table = table->toc_next) {
        store.note_bytes(&table->toc_next, sizeof table->toc_next + sizeof table->toc_prev);
    }
}

}  // namespace

// The list's anchor is in the store's header: it is always there. Every open of a table
// begins with this call.
kel_table_list *kellib_database_table_toc_create(kel_handle *handle, std::uint32_t,
                                                 std::uint32_t *err) {
    clear_table_refusal();
    if (*err != 0) return nullptr;
    kel_store &store = store_of(handle);
    note_table_list(store);
    return &store.header->tables;
}

// The library stores into the root around the tree without an announcement.
kel_table *tbi_rb_tree_LM_RB_FIND(void *arena, std::uint32_t, kel_table_id_tree *tree_head,
                                  const kel_table *block, void *) {
    store_of(handle_of(arena)).note_block(tree_head);
    return find_table_id(handle_of(arena), tree_head, block);
}

void tbi_rb_tree_LM_RB_INSERT(void *arena, std::uint32_t tx_id, kel_table_id_tree *tree_head,
                              kel_table *block) {
    store_of(handle_of(arena)).note_block(tree_head);
    insert_table_id({handle_of(arena), tx_id}, tree_head, block);
}

void tbi_rb_tree_LM_RB_REMOVE(void *arena, std::uint32_t tx_id, kel_table_id_tree *tree_head,
                              kel_table *block) {
    store_of(handle_of(arena)).note_block(tree_head);
    remove_table_id({handle_of(arena), tx_id}, tree_head, block);
}
