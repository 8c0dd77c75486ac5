// SPDX-License-Identifier: Apache-2.0
// The tree of a table's blocks that were opened by id.
#include <cerrno>
#include <cstddef>

#include "runtime/base/error_text.h"
#include "runtime/handle/handle.h"
#include "runtime/index/tree.h"
#include "runtime/store/table_list.h"
#include "tarnbase/embedded.h"

using namespace tarn::runtime;

namespace {

kel_table *table_of(const kel_index_node *node) {
    const char *address = reinterpret_cast<const char *>(node) - offsetof(kel_table, id_node);
    return reinterpret_cast<kel_table *>(const_cast<char *>(address));
}

std::uint32_t compare_ids(const kel_index_node *a, const kel_index_node *b) {
    return order_of(table_of(a)->table_id, table_of(b)->table_id);
}

// Whether the root around this head is a block of the store. The library finds a root once
// a process, so that with a second store it hands over the first one's.
bool is_of_this_store(const char *what, const kel_handle *handle, kel_table_id_tree *head) {
    auto *root = reinterpret_cast<char *>(head) - offsetof(kel_table_id_root, tree_head);
    if (store_of(handle).allocator.is_allocated(root)) return true;
    fail(EXDEV,
         "%s: the root of the tables by id at %p is not in the handle's store: a process can open "
         "tables by id in one store only",
         what, static_cast<const void *>(root));
    ptrail_wrapper(0, KEL_TRACE_ERROR, 0, "(ERR): %s", kel_error_text());
    return false;
}

}  // namespace

// Without a result that says so, the open is refused by having no memory for a block.
kel_table *tbi_rb_tree_LM_RB_FIND(void *arena, std::uint32_t, kel_table_id_tree *tree_head,
                                  const kel_table *block, void *) {
    kel_handle *handle = handle_of(arena);
    if (!is_of_this_store("table_open_by_id", handle, tree_head)) {
        refuse_table_block();
        return nullptr;
    }
    const kel_index_node *found = tree_find(tree_head->root, &block->id_node, compare_ids);
    return found != nullptr ? table_of(found) : nullptr;
}

void tbi_rb_tree_LM_RB_INSERT(void *arena, std::uint32_t tx_id, kel_table_id_tree *tree_head,
                              kel_table *block) {
    kel_handle *handle = handle_of(arena);
    if (!is_of_this_store("table_open_auto_id", handle, tree_head)) return;
    tree_insert(handle, tx_id, &tree_head->root, &block->id_node, compare_ids);
}

void tbi_rb_tree_LM_RB_REMOVE(void *arena, std::uint32_t tx_id, kel_table_id_tree *tree_head,
                              kel_table *block) {
    kel_handle *handle = handle_of(arena);
    if (!is_of_this_store("table_free", handle, tree_head)) return;
    tree_remove(handle, tx_id, &tree_head->root, &block->id_node);
}
