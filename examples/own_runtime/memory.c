/* SPDX-License-Identifier: Apache-2.0 */
/*
 * A store in malloc's memory: the handle's hooks, the keyed store, tables. Mappings, tenants,
 * replication and state tracking are missing; their functions do what their declarations
 * require of such a runtime.
 */
#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "own_runtime.h"

typedef struct entry {
    struct entry *next;
    void *value;
    char key[256];
} entry;

typedef struct store {
    kel_table_list tables;
    entry *keys;
    unsigned blocks;
    char workspace[65536];
} store;

/* ---- The handle and its hooks ---- */

static void *allocate(void *arena, uint32_t tx_id, uint64_t size) {
    (void)tx_id;
    void *const block = malloc(size);
    if (block != NULL) ++((store *)arena)->blocks;
    return block;
}

static void release(void *arena, uint32_t tx_id, void *block) {
    (void)tx_id;
    if (block != NULL) --((store *)arena)->blocks;
    free(block);
}

/* Nothing can be rolled back here, so nothing is logged. */
static void log_write(void *arena, void *address, uint64_t length, uint32_t tx_id) {
    (void)arena, (void)address, (void)length, (void)tx_id;
}

static void log_delta(void *arena, uint64_t *address, int32_t delta, uint32_t tx_id) {
    (void)arena, (void)address, (void)delta, (void)tx_id;
}

kel_handle *own_handle_create(void) {
    store *const made = calloc(1, sizeof *made);
    kel_handle *const handle = calloc(1, sizeof *handle);
    if (made == NULL || handle == NULL) {
        free(made);
        free(handle);
        return NULL;
    }
    made->tables.last = &made->tables.first;
    handle->alloc_hook = allocate;
    handle->free_hook = release;
    handle->write_log_hook = log_write;
    handle->delta_log_hook = log_delta;
    handle->arena = made;
    handle->cr_tx_id = KEL_TX_NONE;
    return handle;
}

unsigned own_handle_destroy(kel_handle *handle) {
    store *const its = handle->arena;
    /* Memory under a key, such as the root of a table's ids, is the store's. */
    while (its->keys != NULL) {
        release(its, KEL_TX_NONE, its->keys->value);
        loam_delete_key(its, its->keys->key);
    }
    const unsigned blocks = its->blocks;
    free(its);
    free(handle);
    return blocks;
}

/* ---- Errors and trace ---- */

void kel_clear_last_error(kel_handle *handle) { handle->last_error = 0; }
void kel_store_err(kel_handle *handle, uint32_t code) { handle->last_error = code; }
void kel_store_epoch_err(kel_handle *handle, uint32_t code, uint32_t *err) {
    own_report(handle, err, code);
}

void own_report(kel_handle *handle, uint32_t *err, uint32_t code) {
    *err = code;
    kel_store_err(handle, code);
}

int own_enter(kel_handle *handle, uint64_t length, uint32_t remaining, uint32_t *err) {
    if (*err != 0) return 0;
    if (length <= remaining) return 1;
    own_report(handle, err, EMSGSIZE);
    return 0;
}

void ptrail_wrapper(uint16_t module_id, uint32_t level, uint32_t zero, const char *format, ...) {
    (void)module_id, (void)zero;
    if (level > KEL_TRACE_ERROR) return;
    va_list arguments;
    va_start(arguments, format);
    vfprintf(stderr, format, arguments);
    va_end(arguments);
    fputc('\n', stderr);
}

void ptrail_module_init_fn(const char *name, uint16_t *module_id, uint64_t *state) {
    (void)name, (void)state;
    *module_id = 1;
}

void ptrail_get_radioactive_bit(uint64_t *uuid, uint8_t *mark) {
    *uuid = 0;
    *mark = 0;
}

/* ---- Descriptors, modules, registries ---- */

kel_module_list kel_module_tot_root = {0, NULL, &kel_module_tot_root.first};

const kel_type_info *kel_type_info_ptr_get(kel_handle *handle, uint32_t tx_id,
                                           const kel_type_info *constant,
                                           kel_type_info_initializer initializer) {
    (void)handle, (void)tx_id, (void)initializer;
    return constant;
}

void kel_update_variant_info(kel_handle *handle, uint32_t tx_id, kel_type_info_copy *copy,
                             const kel_type_info *constant, uint32_t is_new) {
    (void)handle, (void)tx_id, (void)copy, (void)constant, (void)is_new;
}

uint32_t table_vft_cpy(void *destination, const void *source, uint32_t count) {
    memcpy(destination, source, count * sizeof(void *) * KEL_TABLE_VFT_SLOTS);
    return 0;
}

void ridge_comm_bundle_handler_register(void *handler) { (void)handler; }
void ridge_comm_bundle_handler_unregister(void) {}
void if_common_bundle_handler_register(void *handler) { (void)handler; }
void if_common_bundle_handler_unregister(void) {}

/* ---- Keyed store and tables ---- */

static entry **find(store *its, const char *key) {
    entry **link = &its->keys;
    while (*link != NULL && strcmp((*link)->key, key) != 0) link = &(*link)->next;
    return link;
}

void *loam_get_key(void *arena, const char *key) {
    const entry *const found = *find(arena, key);
    return found != NULL ? found->value : NULL;
}

uint32_t loam_set_key(void *arena, const char *key, void *value) {
    store *const its = arena;
    entry **const link = find(its, key);
    if (*link == NULL) {
        entry *const made = calloc(1, sizeof *made);
        if (made == NULL) return 0;
        snprintf(made->key, sizeof made->key, "%s", key);
        *link = made;
    }
    (*link)->value = value;
    return 1;
}

void loam_delete_key(void *arena, const char *key) {
    entry **const link = find(arena, key);
    entry *const gone = *link;
    if (gone == NULL) return;
    *link = gone->next;
    free(gone);
}

uint32_t loam_set_range(void *arena, void *address, uint64_t length, uint32_t tx_id) {
    (void)arena, (void)address, (void)length, (void)tx_id;
    return 1;
}

void loam_perror(void) { perror("own_runtime"); }

kel_table_list *kellib_database_table_toc_create(kel_handle *handle, uint32_t tx_id,
                                                 uint32_t *err) {
    (void)tx_id, (void)err;
    return &((store *)handle->arena)->tables;
}

/* The tree of tables by id is a list too: a node's first word is the next table. */
static kel_table *next_by_id(const kel_table *table) {
    return (kel_table *)(uintptr_t)table->id_node.opaque[0];
}

static void set_next_by_id(kel_table *table, const kel_table *next) {
    table->id_node.opaque[0] = (uintptr_t)next;
}

kel_table *tbi_rb_tree_LM_RB_FIND(void *arena, uint32_t tx_id, kel_table_id_tree *tree_head,
                                  const kel_table *block, void *scratch) {
    (void)arena, (void)tx_id, (void)scratch;
    kel_table *at = tree_head->root;
    while (at != NULL && at->table_id != block->table_id) at = next_by_id(at);
    return at;
}

void tbi_rb_tree_LM_RB_INSERT(void *arena, uint32_t tx_id, kel_table_id_tree *tree_head,
                              kel_table *block) {
    if (tbi_rb_tree_LM_RB_FIND(arena, tx_id, tree_head, block, NULL) != NULL) return;
    set_next_by_id(block, tree_head->root);
    tree_head->root = block;
}

void tbi_rb_tree_LM_RB_REMOVE(void *arena, uint32_t tx_id, kel_table_id_tree *tree_head,
                              kel_table *block) {
    (void)arena, (void)tx_id;
    kel_table *last = NULL;
    kel_table *at = tree_head->root;
    while (at != NULL && at != block) {
        last = at;
        at = next_by_id(at);
    }
    if (at == NULL) return;
    if (last != NULL) set_next_by_id(last, next_by_id(block));
    else tree_head->root = next_by_id(block);
}

/* ---- Mappings: there are none ---- */

void *kel_oid_mapping_create(kel_handle *handle, uint32_t tx_id, void *object, uint32_t kind,
                             uint32_t dynamic, uint64_t ior, uint32_t *err) {
    (void)handle, (void)tx_id, (void)kind, (void)dynamic, (void)ior, (void)err;
    return object;
}

uint32_t kel_request_oid_mapping_destroy(kel_handle *handle, uint32_t tx_id, void *object,
                                         uint32_t *err) {
    (void)handle, (void)tx_id, (void)object, (void)err;
    return 1;
}

void kellib_lookup_and_update_oid_ref_count(kel_handle *handle, uint32_t tx_id, uint64_t oid,
                                            uint32_t zero, uint32_t *err) {
    (void)tx_id, (void)oid, (void)zero;
    if (*err == 0) own_report(handle, err, ENOENT);
}

void kel_hd_mapping_destroy(kel_handle *handle, uint32_t tx_id, void *object, uint32_t *err) {
    (void)handle, (void)tx_id, (void)object, (void)err;
}

/* ---- Variants, marks, state ---- */

uint32_t kel_domain_lookup_variant(kel_handle *handle, kel_variant_domain *domain,
                                   const kel_type_info *descriptor, uint32_t *err) {
    (void)handle, (void)domain, (void)err;
    return (uint32_t)descriptor->variant_info->variant_count - 1;
}

int32_t kel_get_instance_variant(const void *object, uint32_t is_structure, uint32_t is_small) {
    (void)is_structure, (void)is_small;
    return object != NULL ? ((const kel_object *)object)->variant : 0;
}

int32_t kellib_adjust_variant(kel_handle *handle, uint32_t tx_id, void *object,
                              const kel_type_info *descriptor, int32_t top_variant, uint32_t *err) {
    (void)handle, (void)tx_id, (void)descriptor, (void)top_variant, (void)err;
    return kel_get_instance_variant(object, 1, 0);
}

enum { modified = 128 };

uint32_t kel_get_instance_modified(const void *object, uint32_t is_structure, uint32_t is_small) {
    (void)is_structure, (void)is_small;
    return object != NULL && (((const kel_object *)object)->flags & modified) != 0;
}

void kel_set_instance_modified(void *object, uint32_t is_structure, uint32_t is_small,
                               uint32_t value) {
    (void)is_structure, (void)is_small;
    kel_object *const header = object;
    if (header == NULL) return;
    header->flags = (uint8_t)((header->flags & ~modified) | (value != 0 ? modified : 0));
}

uint8_t kel_get_instance_obj_flag(const void *object, uint32_t is_structure, uint32_t is_small) {
    (void)is_structure, (void)is_small;
    return object != NULL ? ((const kel_object *)object)->flags : 0;
}

/* Handles don't track state, so no object has a state block. */
uint32_t kellib_get_sttr_offset(kel_handle *handle, uint32_t tx_id, const void *object) {
    (void)handle, (void)tx_id, (void)object;
    return 0;
}

void kellib_update_sttr_offset(kel_handle *handle, uint32_t tx_id, void *object,
                               uint32_t distance) {
    (void)handle, (void)tx_id, (void)object, (void)distance;
}

uint32_t kellib_validate_object_flags(const void *object, uint32_t one, uint32_t other_one) {
    (void)one, (void)other_one;
    return (((const kel_object *)object)->flags & (OBJ_EMBEDDED | OBJ_NESTED)) != 0 ? EINVAL : 0;
}

uint32_t kellib_get_ra_data(kel_handle *handle, uint32_t tx_id, const void *object,
                            uint64_t *ra_word, uint8_t *ra_byte) {
    (void)handle, (void)tx_id, (void)object;
    *ra_word = 0;
    *ra_byte = 0;
    return 0;
}

void kellib_update_ra_all(kel_handle *handle, uint32_t tx_id, void *object, uint64_t ra_word,
                          uint8_t ra_byte) {
    (void)handle, (void)tx_id, (void)object, (void)ra_word, (void)ra_byte;
}

void kellib_record_update_ra_all(kel_handle *handle, uint32_t tx_id, kel_record *record,
                                 uint64_t uuid, uint8_t mark) {
    (void)handle, (void)tx_id;
    record->ra_uuid = uuid;
    record->ra_byte = mark;
}

void kellib_get_handle_ws(kel_handle *handle, void **workspace, uint32_t *length) {
    store *const its = handle->arena;
    *workspace = its->workspace;
    *length = sizeof its->workspace;
}

/* ---- Tenants and replication: one tenant, no engine ---- */

void mt_get_tenant_id(uint16_t *tenant) { *tenant = 0; }

void keldb_update_tenant_counter(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                 uint32_t direction, uint16_t tenant, uint8_t src, uint32_t *err) {
    (void)handle, (void)tx_id, (void)table, (void)direction, (void)tenant, (void)src, (void)err;
}

void keldb_get_tenant_counter(kel_handle *handle, uint32_t tx_id, kel_table *table, uint32_t *count,
                              uint16_t tenant, const uint8_t *src) {
    (void)handle, (void)tx_id, (void)tenant;
    *count = src != NULL ? table->src_counts[*src] : table->record_count;
}

void keldb_enq_rec_move_write_cursor_internal(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                              kel_record *record, uint32_t *err) {
    (void)handle, (void)tx_id, (void)table, (void)record, (void)err;
}

void keldb_request_record_destroy(kel_handle *handle, uint32_t tx_id, kel_record *record,
                                  uint32_t *err) {
    (void)handle, (void)tx_id, (void)err;
    record->flags |= KEL_RECORD_PENDING_DESTROY;
}

void kelrepl_add_to_cache(kel_handle *handle, uint32_t tx_id, kel_table *table, kel_record *record,
                          const void *const *vector, uint32_t *err) {
    (void)handle, (void)tx_id, (void)table, (void)record, (void)vector, (void)err;
}
