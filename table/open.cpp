// SPDX-License-Identifier: Apache-2.0
// Opening a table finds its block in the store or makes it; freeing takes it out.
// All changes are made with the no-transaction value, since a table must not
// vanish with its maker's transaction.
#include <cstdio>
#include <cstring>

#include "frame/conventions.h"
#include "table/reads.h"
#include "table/table.h"

namespace tarnbase::table {

namespace {

constexpr std::size_t key_size = sizeof(kel_table::table_name);

// Composes the store's key of a table-id root. False: too long.
bool compose_root_key(Model model, char (&key)[key_size]) {
    return std::snprintf(key, sizeof key, "__kel_TBI__%s", model.luid_text) <
           static_cast<int>(sizeof key);
}

// Composes the store's key of a table opened by name. A path is taken as it is,
// cut to size; any other name is made the table's own by its LUID. False: too long.
bool compose_table_key(Model model, const char *name, char (&key)[key_size]) {
    if (name != nullptr && std::strchr(name, '/') != nullptr) {
        std::snprintf(key, sizeof key, "%s", name);
        return true;
    }
    const char *shown = name != nullptr ? name : "(null)";
    return std::snprintf(key, sizeof key, "%s/%s", shown, model.luid_text) <
           static_cast<int>(sizeof key);
}

// The table-id root from the cache, else from the store; null if it has none.
// `key` is composed only when the store was asked.
kel_table_id_root *find_id_root(Model model, kel_handle *handle, char (&key)[key_size],
                                std::uint32_t *err) {
    kel_table_id_root *&cached = *model.root_cache;
    if (cached != nullptr) return cached;
    if (!compose_root_key(model, key)) {
        report(handle, err, E2BIG);
        return nullptr;
    }
    cached = static_cast<kel_table_id_root *>(loam_get_key(handle->arena, key));
    return cached;
}

// The table-id root, made if need be. It is in the cache before the store is told
// of it, so that it serves also when the store refuses the key.
kel_table_id_root *get_id_root(Model model, kel_handle *handle, std::uint32_t *err) {
    char key[key_size];
    kel_table_id_root *root = find_id_root(model, handle, key, err);
    if (root != nullptr || *err != 0) return root;
    root = static_cast<kel_table_id_root *>(
        handle->alloc_hook(handle->arena, KEL_TX_NONE, sizeof(kel_table_id_root)));
    *model.root_cache = root;
    if (root == nullptr) {
        report(handle, err, ENOMEM);
        return nullptr;
    }
    std::memset(root, 0, sizeof *root);
    if (loam_set_key(handle->arena, key, root) == 0) {
        trace_table(KEL_TRACE_ERROR, "(ERR): Setting tbi root failed\n");
    }
    return root;
}

kel_table *find_by_id(kel_handle *handle, kel_table_id_root *root, std::uint64_t id) {
    kel_table wanted{};
    wanted.table_id = id;
    std::uint64_t scratch = 0;
    return tbi_rb_tree_LM_RB_FIND(handle->arena, KEL_TX_NONE, &root->tree_head, &wanted, &scratch);
}

// A zeroed block with its range registered. Null with error 12: no memory.
kel_table *make_block(kel_handle *handle, std::uint32_t *err) {
    auto *block =
        static_cast<kel_table *>(handle->alloc_hook(handle->arena, KEL_TX_NONE, sizeof(kel_table)));
    if (block == nullptr) {
        report(handle, err, ENOMEM);
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

void enter_by_id(kel_handle *handle, kel_table_id_root *root, kel_table *block, std::uint64_t id) {
    block->table_id = id;
    tbi_rb_tree_LM_RB_INSERT(handle->arena, KEL_TX_NONE, &root->tree_head, block);
    ++root->id_table_count;
    ++root->next_id;
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

// Tables count without the delta hook: they are made outside any transaction.
void count_block(const kel_table *block, std::uint64_t kel_variant_usage::*counter) {
    count(block->descriptor, usage_record(block->descriptor, 0, 0, TraceModule::table).*counter, 1);
}

// Takes the block out of the place where an open would find it. False: `*err` is set.
bool forget(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
            std::uint32_t *err) {
    if (table->open_mode != KEL_OPEN_BY_ID && table->open_mode != KEL_OPEN_AUTO_ID) {
        loam_delete_key(handle->arena, table->table_name);
        return true;
    }
    char key[key_size];
    kel_table_id_root *root = find_id_root(model, handle, key, err);
    if (root == nullptr) {
        if (*err == 0) report(handle, err, ENOENT);
        return false;
    }
    tbi_rb_tree_LM_RB_REMOVE(handle->arena, tx_id, &root->tree_head, table);
    --root->id_table_count;
    return true;
}

}  // namespace

kel_table *open(Model model, kel_handle *handle, std::uint32_t tx_id, const char *name,
                std::uint32_t open_only, std::uint64_t id, std::uint64_t ior, std::uint32_t dynamic,
                std::uint32_t mode, std::uint32_t *err) {
    if (!enter(handle, err)) return nullptr;
    kel_tarnbase_type_trace_init();
    kel_table_list *list = kellib_database_table_toc_create(handle, KEL_TX_NONE, err);
    if (*err != 0) return nullptr;

    kel_table *block = nullptr;
    kel_table_id_root *root = nullptr;
    char key[key_size];
    if (mode == KEL_OPEN_BY_NAME) {
        if (!compose_table_key(model, name, key)) {
            report(handle, err, E2BIG);
            return nullptr;
        }
        block = static_cast<kel_table *>(loam_get_key(handle->arena, key));
    } else {
        root = get_id_root(model, handle, err);
        if (root == nullptr) return nullptr;
        if (mode == KEL_OPEN_BY_ID) block = find_by_id(handle, root, id);
        if (mode == KEL_OPEN_AUTO_ID) id = root->next_id;
    }
    if (open_only != 0 || block != nullptr) return block;

    block = make_block(handle, err);
    if (block == nullptr) return nullptr;
    block->descriptor = choose_descriptor(handle, tx_id, model.table_descriptor);
    block->open_mode = mode;
    if (mode == KEL_OPEN_BY_NAME) {
        std::memcpy(block->table_name, key, std::strlen(key) + 1);
    } else {
        enter_by_id(handle, root, block, id);
    }
    link(list, block);
    if (mode == KEL_OPEN_BY_NAME && loam_set_key(handle->arena, key, block) == 0) {
        trace_table(KEL_TRACE_ERROR, "(ERR): table TOC loam set key failed");
    }
    const void *mapping =
        kel_oid_mapping_create(handle, tx_id, block, KEL_OID_KIND_TABLE, dynamic, ior, err);
    if (mapping == nullptr || *err != 0) {
        trace_table(KEL_TRACE_ERROR, "(ERR): Failed to create mapping for %s table", model.name);
        *err = 0;
    }
    count_block(block, &kel_variant_usage::created);
    *err = 0;
    return block;
}

kel_table *open_cr(Model model, kel_handle *handle, std::uint32_t open_only, std::uint32_t mode,
                   const char *name, std::uint64_t id) {
    return open(model, handle, handle->cr_tx_id, name, open_only, id, 0, 0, mode,
                &handle->last_error);
}

void close(kel_handle *handle, std::uint32_t, kel_table *, std::uint32_t *err) {
    enter(handle, err);
}

void close_cr(kel_handle *handle, kel_table *table) {
    close(handle, handle->cr_tx_id, table, &handle->last_error);
}

void free(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
          std::uint32_t *err) {
    if (!enter(handle, err)) return;
    const std::uint32_t removed = kel_request_oid_mapping_destroy(handle, tx_id, table, err);
    if (*err != 0) {
        trace_table(KEL_TRACE_ERROR,
                    "(ERR): %s table free: Failed to request oid mapping destroy for table. "
                    "Error %s",
                    model.name, std::strerror(static_cast<int>(*err)));
        return;
    }
    if (removed == 0) {
        report(handle, err, EAGAIN);
        return;
    }
    trace_table(KEL_TRACE_DEBUG, "(debug): %s table free: Successfully removed OID mapping for %s",
                model.name, model.name);
    if (!forget(model, handle, tx_id, table, err)) return;
    kel_table_list *list = kellib_database_table_toc_create(handle, KEL_TX_NONE, err);
    if (*err != 0) return;
    unlink(list, table);
    count_block(table, &kel_variant_usage::destroyed);
    *err = 0;
    handle->free_hook(handle->arena, tx_id, table);
}

std::uint32_t get_count(kel_handle *handle, std::uint32_t tx_id, kel_table *table) {
    if (table == nullptr) return 0;
    const std::uint16_t tenant = current_tenant();
    if (tenant == 0) return table->record_count;
    std::uint32_t records = 0;
    keldb_get_tenant_counter(handle, tx_id, table, &records, tenant, nullptr);
    return records;
}

std::uint32_t get_count_by_src(kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                               std::uint8_t src) {
    if (table == nullptr) return 0;
    const std::uint16_t tenant = current_tenant();
    if (tenant == 0) return table->src_counts[src];
    std::uint32_t records = 0;
    keldb_get_tenant_counter(handle, tx_id, table, &records, tenant, &src);
    return records;
}

std::uint32_t get_count_cr(kel_handle *handle, kel_table *table) {
    return get_count(handle, handle->cr_tx_id, table);
}

}  // namespace tarnbase::table
