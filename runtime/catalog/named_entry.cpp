// SPDX-License-Identifier: Apache-2.0
#include "runtime/catalog/named_entry.h"

#include <cstring>

#include "runtime/index/tree.h"
#include "runtime/store/store_handle.h"

namespace tarnbase::runtime {

namespace {

NamedEntry *entry_of(kel_index_node *node) { return reinterpret_cast<NamedEntry *>(node); }

const char *name_of(const kel_index_node *node) {
    return reinterpret_cast<const NamedEntry *>(node)->name;
}

std::uint32_t compare_names(const kel_index_node *a, const kel_index_node *b) {
    return order_of(std::strcmp(name_of(a), name_of(b)), 0);
}

// Null: no memory.
NamedEntry *add_named(kel_handle *handle, void **anchor, const char *name, void *value) {
    const std::size_t length = std::strlen(name) + 1;
    auto *entry = static_cast<NamedEntry *>(
        store_of(handle).allocate(KEL_TX_NONE, sizeof(NamedEntry) + length));
    if (entry == nullptr) return nullptr;
    auto *text = reinterpret_cast<char *>(entry + 1);
    std::memcpy(text, name, length);
    entry->name = text;
    entry->value = value;
    tree_insert({handle, KEL_TX_NONE}, anchor, &entry->node, compare_names);
    return entry;
}

}  // namespace

NamedEntry *find_named(void *root, const char *name) {
    const NamedEntry probe{{}, name, nullptr};
    return entry_of(tree_find(root, &probe.node, compare_names));
}

bool set_named(kel_handle *handle, void **anchor, const char *name, void *value) {
    if (NamedEntry *entry = find_named(*anchor, name)) {
        WriteLog{handle, KEL_TX_NONE}.set(entry->value, value);
        return true;
    }
    return add_named(handle, anchor, name, value) != nullptr;
}

void remove_named(kel_handle *handle, void **anchor, const char *name) {
    NamedEntry *entry = find_named(*anchor, name);
    if (entry == nullptr) return;
    tree_remove({handle, KEL_TX_NONE}, anchor, &entry->node);
    store_of(handle).release(KEL_TX_NONE, entry);
}

}  // namespace tarnbase::runtime
