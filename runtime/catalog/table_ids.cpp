// SPDX-License-Identifier: Apache-2.0
#include "runtime/catalog/table_ids.h"

#include <cerrno>
#include <cstddef>

#include "runtime/base/error_text.h"
#include "runtime/index/tree.h"
#include "runtime/store/store_handle.h"
#include "runtime/store/table_refusal.h"
#include "tarnbase/runtime.h"

namespace tarnbase::runtime {

namespace {

kel_table *table_of(const kel_index_node *node) {
    const char *address = reinterpret_cast<const char *>(node) - offsetof(kel_table, id_node);
    return reinterpret_cast<kel_table *>(const_cast<char *>(address));
}

std::uint32_t compare_ids(const kel_index_node *a, const kel_index_node *b) {
    return order_of(table_of(a)->table_id, table_of(b)->table_id);
}

// Whether the root around the tree is a block of the handle's store.
bool is_of_this_store(const char *operation, const kel_handle *handle, kel_table_id_tree *tree) {
    auto *root = reinterpret_cast<char *>(tree) - offsetof(kel_table_id_root, tree_head);
    if (store_of(handle).allocator.is_allocated(root)) return true;
    fail(EXDEV,
         "%s: the root of the tables by id at %p is not in the handle's store: a process can open "
         "tables by id in one store only",
         operation, static_cast<const void *>(root));
    ptrail_wrapper(0, KEL_TRACE_ERROR, 0, "(ERR): %s", error_text());
    return false;
}

}  // namespace

kel_table *find_table_id(const kel_handle *handle, kel_table_id_tree *tree,
                         const kel_table *block) {
    if (!is_of_this_store("table_open_by_id", handle, tree)) {
        refuse_table_block();
        return nullptr;
    }
    const kel_index_node *found = tree_find(tree->root, &block->id_node, compare_ids);
    return found != nullptr ? table_of(found) : nullptr;
}

void insert_table_id(WriteLog log, kel_table_id_tree *tree, kel_table *block) {
    if (!is_of_this_store("table_open_auto_id", log.handle, tree)) return;
    tree_insert(log, &tree->root, &block->id_node, compare_ids);
}

void remove_table_id(WriteLog log, kel_table_id_tree *tree, kel_table *block) {
    if (!is_of_this_store("table_free", log.handle, tree)) return;
    tree_remove(log, &tree->root, &block->id_node);
}

}  // namespace tarnbase::runtime
