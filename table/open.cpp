// SPDX-License-Identifier: Apache-2.0
// Opening a table finds its block in the store or creates it; freeing removes it. Both
// change the store outside of transactions, since a table must not disappear when the
// transaction that created it rolls back.
#include <cstdio>
#include <cstring>

#include "frame/conventions.h"
#include "table/table.h"

namespace tarnbase::table {

namespace {

constexpr std::size_t key_size = sizeof(kel_table::table_name);

// Where a table is found: under a key in the store, or by id in the tree of a root.
struct Place {
    char key[key_size];
    kel_table_id_root *root = nullptr;
    std::uint64_t id = 0;
};

// Composes the store's key of a table-id root. False: too long.
bool compose_root_key(Model model, char (&key)[key_size]) {
    return std::snprintf(key, sizeof key, "__kel_TBI__%s", model.luid_text) <
           static_cast<int>(sizeof key);
}

// Composes the store's key of a table opened by name: a path itself, truncated if it is
// too long, and any other name with the table's LUID. False: too long.
bool compose_table_key(Model model, const char *name, char (&key)[key_size]) {
    if (name != nullptr && std::strchr(name, '/') != nullptr) {
        std::snprintf(key, sizeof key, "%s", name);
        return true;
    }
    const char *shown = name != nullptr ? name : "(null)";
    return std::snprintf(key, sizeof key, "%s/%s", shown, model.luid_text) <
           static_cast<int>(sizeof key);
}

// The table-id root from the cache, else from the store; null if it has none. `key` is
// set only if the store is searched.
kel_table_id_root *find_id_root(Model model, const Call &call, char (&key)[key_size]) {
    kel_table_id_root *&cached = *model.root_cache;
    if (cached != nullptr) return cached;
    if (!compose_root_key(model, key)) {
        call.report(E2BIG);
        return nullptr;
    }
    cached = static_cast<kel_table_id_root *>(loam_get_key(call.handle->arena, key));
    return cached;
}

// The table-id root, created if there is none. It is cached first, so that it is used
// even if the store refuses the key.
kel_table_id_root *get_id_root(Model model, const Call &call) {
    kel_handle *handle = call.handle;
    char key[key_size];
    kel_table_id_root *root = find_id_root(model, call, key);
    if (root != nullptr || call.failed()) return root;
    root = static_cast<kel_table_id_root *>(
        handle->alloc_hook(handle->arena, KEL_TX_NONE, sizeof(kel_table_id_root)));
    *model.root_cache = root;
    if (root == nullptr) {
        call.report(ENOMEM);
        return nullptr;
    }
    std::memset(root, 0, sizeof *root);
    if (loam_set_key(handle->arena, key, root) == 0) {
        trace_table(KEL_TRACE_ERROR, "(ERR): Setting tbi root failed\n");
    }
    return root;
}

kel_table *find_by_id(kel_handle *handle, const Place &place) {
    kel_table wanted{};
    wanted.table_id = place.id;
    std::uint64_t scratch = 0;
    return tbi_rb_tree_LM_RB_FIND(handle->arena, KEL_TX_NONE, &place.root->tree_head, &wanted,
                                  &scratch);
}

// Finds the table's block, null if there is none, and its place. False: `*err` is set.
bool find(Model model, const Call &call, const Opening &opening, Place &place, kel_table *&block) {
    if (opening.mode == KEL_OPEN_BY_NAME) {
        if (!compose_table_key(model, opening.name, place.key)) {
            call.report(E2BIG);
            return false;
        }
        block = static_cast<kel_table *>(loam_get_key(call.handle->arena, place.key));
        return true;
    }
    place.root = get_id_root(model, call);
    if (place.root == nullptr) return false;
    place.id = opening.mode == KEL_OPEN_AUTO_ID ? place.root->next_id : opening.id;
    if (opening.mode == KEL_OPEN_BY_ID) block = find_by_id(call.handle, place);
    return true;
}

// A zeroed block whose range is registered. Null: no memory.
kel_table *make_block(const Call &call) {
    kel_handle *handle = call.handle;
    auto *block =
        static_cast<kel_table *>(handle->alloc_hook(handle->arena, KEL_TX_NONE, sizeof(kel_table)));
    if (block == nullptr) {
        call.report(ENOMEM);
        return nullptr;
    }
    std::memset(block, 0, sizeof *block);
    if (loam_set_range(handle->arena, &block->range_word, sizeof block->range_word, KEL_TX_NONE) !=
        1) {
        loam_perror();
        trace_table(KEL_TRACE_FATAL, "(FATAL): loam internal error");
        std::abort();
    }
    block->range_word = 0;
    return block;
}

void insert_by_id(kel_handle *handle, const Place &place, kel_table *block) {
    block->table_id = place.id;
    tbi_rb_tree_LM_RB_INSERT(handle->arena, KEL_TX_NONE, &place.root->tree_head, block);
    ++place.root->id_table_count;
    ++place.root->next_id;
}

void link(kel_table_list *list, kel_table *block) {
    block->toc_next = nullptr;
    block->toc_prev = list->last;
    *list->last = block;
    list->last = &block->toc_next;
}

void unlink(kel_table_list *list, kel_table *block) {
    if (block->toc_next != nullptr) {
        block->toc_next->toc_prev = block->toc_prev;
    } else {
        list->last = block->toc_prev;
    }
    *block->toc_prev = block->toc_next;
}

// Without the delta hook: tables are created and freed outside of transactions.
void increment_usage(const kel_table *block, std::uint64_t kel_variant_usage::*counter) {
    count(block->descriptor, usage_record(block->descriptor, 0, 0, TraceModule::table).*counter, 1);
}

// A failure is traced, and the table remains without a mapping.
void create_mapping(Model model, const Call &call, kel_table *block, const Opening &opening) {
    const void *mapping = kel_oid_mapping_create(call.handle, call.tx_id, block, KEL_OID_KIND_TABLE,
                                                 opening.dynamic ? 1 : 0, opening.ior, call.err);
    if (mapping == nullptr || call.failed()) {
        trace_table(KEL_TRACE_ERROR, "(ERR): Failed to create mapping for %s table", model.name);
        *call.err = 0;
    }
}

kel_table *create(Model model, const Call &call, const Opening &opening, const Place &place,
                  kel_table_list *list) {
    const bool by_name = opening.mode == KEL_OPEN_BY_NAME;
    kel_table *block = make_block(call);
    if (block == nullptr) return nullptr;
    block->descriptor = choose_descriptor(call, model.table_descriptor);
    block->open_mode = opening.mode;
    if (by_name) {
        std::memcpy(block->table_name, place.key, std::strlen(place.key) + 1);
    } else {
        insert_by_id(call.handle, place, block);
    }
    link(list, block);
    if (by_name && loam_set_key(call.handle->arena, place.key, block) == 0) {
        trace_table(KEL_TRACE_ERROR, "(ERR): table TOC loam set key failed");
    }
    create_mapping(model, call, block, opening);
    increment_usage(block, &kel_variant_usage::created);
    *call.err = 0;
    return block;
}

// Removes the block from where an open would find it. False: `*err` is set.
bool remove_from_place(Model model, const Call &call, kel_table *table) {
    if (table->open_mode != KEL_OPEN_BY_ID && table->open_mode != KEL_OPEN_AUTO_ID) {
        loam_delete_key(call.handle->arena, table->table_name);
        return true;
    }
    char key[key_size];
    kel_table_id_root *root = find_id_root(model, call, key);
    if (root == nullptr) {
        if (!call.failed()) call.report(ENOENT);
        return false;
    }
    tbi_rb_tree_LM_RB_REMOVE(call.handle->arena, call.tx_id, &root->tree_head, table);
    --root->id_table_count;
    return true;
}

// False: the mapping remains and `*err` is set.
bool destroy_mapping(Model model, const Call &call, kel_table *table) {
    const std::uint32_t removed =
        kel_request_oid_mapping_destroy(call.handle, call.tx_id, table, call.err);
    if (call.failed()) {
        trace_table(KEL_TRACE_ERROR,
                    "(ERR): %s table free: Failed to request oid mapping destroy for table. "
                    "Error %s",
                    model.name, std::strerror(static_cast<int>(*call.err)));
        return false;
    }
    if (removed == 0) {
        call.report(EAGAIN);
        return false;
    }
    trace_table(KEL_TRACE_DEBUG, "(debug): %s table free: Successfully removed OID mapping for %s",
                model.name, model.name);
    return true;
}

}  // namespace

kel_table *open(Model model, const Call &call, const Opening &opening) {
    if (!call.enter()) return nullptr;
    kel_tarnbase_type_trace_init();
    kel_table_list *list = kellib_database_table_toc_create(call.handle, KEL_TX_NONE, call.err);
    if (call.failed()) return nullptr;
    Place place;
    kel_table *block = nullptr;
    if (!find(model, call, opening, place, block)) return nullptr;
    if (opening.open_only || block != nullptr) return block;
    return create(model, call, opening, place, list);
}

void close(const Call &call) { call.enter(); }

void free(Model model, const Call &call, kel_table *table) {
    if (!call.enter()) return;
    if (!destroy_mapping(model, call, table)) return;
    if (!remove_from_place(model, call, table)) return;
    kel_table_list *list = kellib_database_table_toc_create(call.handle, KEL_TX_NONE, call.err);
    if (call.failed()) return;
    unlink(list, table);
    increment_usage(table, &kel_variant_usage::destroyed);
    *call.err = 0;
    call.handle->free_hook(call.handle->arena, call.tx_id, table);
}

}  // namespace tarnbase::table
