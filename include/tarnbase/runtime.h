/* SPDX-License-Identifier: Apache-2.0 */
/*
 * The services that the library imports, besides the value types of value.h. A
 * runtime provides all of them by name; the embedded one is declared in
 * embedded.h. A program may replace any service with its own function.
 *
 * `arena` is the handle's arena, `err` the error value of handle.h.
 */
#ifndef TARNBASE_RUNTIME_H
#define TARNBASE_RUNTIME_H

#include <stdint.h>

#include "tarnbase/descriptor.h"
#include "tarnbase/export.h"
#include "tarnbase/handle.h"
#include "tarnbase/object.h"
#include "tarnbase/record.h"
#include "tarnbase/value.h"

TARNBASE_BEGIN

/* ---- Errors ------------------------------------------------------------ */

/* Sets the handle's last_error to zero. */
TARNBASE_API void kel_clear_last_error(kel_handle *handle);
/* Records `code` in the handle's last_error. */
TARNBASE_API void kel_store_err(kel_handle *handle, uint32_t code);
/* Records an epoch error, `code` being EIDRM, and reports it through `err`. */
TARNBASE_API void kel_store_epoch_err(kel_handle *handle, uint32_t code, uint32_t *err);

/* ---- Trace ------------------------------------------------------------- */

/* Trace levels. */
#define KEL_TRACE_FATAL 0U
#define KEL_TRACE_ERROR 3U
#define KEL_TRACE_INFO 6U
#define KEL_TRACE_DEBUG 7U
#define KEL_TRACE_VERBOSE 8U

/* Emits a trace line, formatted as by printf. `zero` is 0. Module id 0 must work. */
TARNBASE_API void ptrail_wrapper(uint16_t module_id, uint32_t level, uint32_t zero,
                                 const char *format, ...) TARNBASE_PRINTF(4, 5);
/* Registers a trace module and sets its id. May be called any number of times. */
TARNBASE_API void ptrail_module_init_fn(const char *name, uint16_t *module_id, uint64_t *state);
/* Reads the trace correlation of the current thread; zeros if it has none. */
TARNBASE_API void ptrail_get_radioactive_bit(uint64_t *uuid, uint8_t *mark);

/* ---- Descriptors and modules ------------------------------------------- */

/* Head of the module list; a library links its record when it is loaded. */
extern TARNBASE_API kel_module_list kel_module_tot_root;

/* Fills a store's type map with a module's descriptors. */
typedef void (*kel_type_info_initializer)(kel_handle *handle, uint32_t tx_id, uint32_t *err);

/*
 * Returns the store's copy of `constant`; calls `initializer` first if the store
 * has none yet. Returns `constant` if no copy can be made.
 */
TARNBASE_API const kel_type_info *kel_type_info_ptr_get(kel_handle *handle, uint32_t tx_id,
                                                        const kel_type_info *constant,
                                                        kel_type_info_initializer initializer);
/*
 * Brings the variant information of `copy` up to date with `constant`, the
 * descriptor in the caller's module: a new copy gets its own counters in the
 * store, an existing one gets the variants that it lacks.
 */
TARNBASE_API void kel_update_variant_info(kel_handle *handle, uint32_t tx_id,
                                          kel_type_info_copy *copy, const kel_type_info *constant,
                                          uint32_t is_new);
/* Copies `count` vectors of KEL_TABLE_VFT_SLOTS slots. Returns 0 or an errno. */
TARNBASE_API uint32_t table_vft_cpy(void *destination, const void *source, uint32_t count);

/* ---- Communication registries ------------------------------------------ */

/*
 * Each registry stores one opaque handler of the caller's. A second registration
 * replaces the first; unregistering without one is no error.
 */
TARNBASE_API void ridge_comm_bundle_handler_register(void *handler);
TARNBASE_API void ridge_comm_bundle_handler_unregister(void);
TARNBASE_API void if_common_bundle_handler_register(void *handler);
TARNBASE_API void if_common_bundle_handler_unregister(void);

/* ---- Keyed store ------------------------------------------------------- */

/* Returns the value stored under the key, or null. */
TARNBASE_API void *loam_get_key(void *arena, const char *key);
/* Stores a value under a key. Returns nonzero on success. */
TARNBASE_API uint32_t loam_set_key(void *arena, const char *key, void *value);
/* Removes a key. */
TARNBASE_API void loam_delete_key(void *arena, const char *key);
/* Registers a range of the arena with the store. Returns 1 on success. */
TARNBASE_API uint32_t loam_set_range(void *arena, void *address, uint64_t length, uint32_t tx_id);
/* Reports the store's last failure on its own channel. */
TARNBASE_API void loam_perror(void);

/* ---- Tables ------------------------------------------------------------ */

/* Returns the head of the store's table list, created if missing. On failure null, *err set. */
TARNBASE_API kel_table_list *kellib_database_table_toc_create(kel_handle *handle, uint32_t tx_id,
                                                              uint32_t *err);
/* Returns the block in the tree with the table_id of `block`, or null. */
TARNBASE_API kel_table *tbi_rb_tree_LM_RB_FIND(void *arena, uint32_t tx_id,
                                               kel_table_id_tree *tree_head, const kel_table *block,
                                               void *scratch);
/* Inserts a block. Does nothing if a block with its id is present. */
TARNBASE_API void tbi_rb_tree_LM_RB_INSERT(void *arena, uint32_t tx_id,
                                           kel_table_id_tree *tree_head, kel_table *block);
/* Removes a block. */
TARNBASE_API void tbi_rb_tree_LM_RB_REMOVE(void *arena, uint32_t tx_id,
                                           kel_table_id_tree *tree_head, kel_table *block);

/* ---- Key index tree ---------------------------------------------------- */

/* Returns 0 if `a` is before `b`, 1 if they are equal, 2 if `a` is after `b`. */
typedef uint32_t (*e_avl_compare_function)(const kel_index_node *a, const kel_index_node *b);
/* Called with each node of a walk. A nonzero result ends the walk. */
typedef uint32_t (*e_avl_walk_function)(kel_index_node *node, void *context);

/*
 * Inserts `node` in order. `root` and `aux` are the addresses of the two anchor
 * words. Returns nonzero on success; 0 if an equal node exists, and then nothing
 * is changed.
 */
TARNBASE_API uint32_t e_avl_insert(void *arena, uint32_t tx_id, void **root, kel_index_node *node,
                                   uintptr_t *aux, e_avl_compare_function compare);
/* Removes exactly this node. Returns nonzero on success, 0 if it isn't in the tree. */
TARNBASE_API uint32_t e_avl_delete(void *arena, uint32_t tx_id, void **root, kel_index_node *node,
                                   uintptr_t *aux, e_avl_compare_function compare);
/* Returns the node that compares equal to `probe`, or null. */
TARNBASE_API kel_index_node *e_avl_search(void *root, const kel_index_node *probe,
                                          e_avl_compare_function compare);
/* Return the smallest and the largest node, or null. */
TARNBASE_API kel_index_node *e_avl_get_first(void *root);
TARNBASE_API kel_index_node *e_avl_get_last(void *root);
/*
 * Return the node next after or before `node` in order, or null. The position is found
 * by comparison: `node` need not be in the tree, and its key may have changed there.
 */
TARNBASE_API kel_index_node *e_avl_get_next(void *root, const kel_index_node *node,
                                            e_avl_compare_function compare);
TARNBASE_API kel_index_node *e_avl_get_prev(void *root, const kel_index_node *node,
                                            e_avl_compare_function compare);
/*
 * Calls `callback` with each node in order, until it returns nonzero. Returns
 * its last result. The callback may delete the node passed to it.
 */
TARNBASE_API uint32_t e_avl_walk(void *root, e_avl_walk_function callback, void *context);

/* ---- Object identity and mappings -------------------------------------- */

/* Kind of a table block in an object-id mapping. */
#define KEL_OID_KIND_TABLE 2U

/* Creates the object-id mapping of a block. Returns it, or null on failure. */
TARNBASE_API void *kel_oid_mapping_create(kel_handle *handle, uint32_t tx_id, void *object,
                                          uint32_t kind, uint32_t dynamic, uint64_t ior,
                                          uint32_t *err);
/*
 * Requests the removal of an object's mapping. Nonzero: the mapping is gone, or
 * there was none. 0: the object still has references and is marked for release.
 */
TARNBASE_API uint32_t kel_request_oid_mapping_destroy(kel_handle *handle, uint32_t tx_id,
                                                      void *object, uint32_t *err);
/* Decrements the count of the mapping of `oid`. ENOENT: there is no such mapping. */
TARNBASE_API void kellib_lookup_and_update_oid_ref_count(kel_handle *handle, uint32_t tx_id,
                                                         uint64_t oid, uint32_t zero,
                                                         uint32_t *err);
/* Removes the object's entry from the hd mapping; an absent entry is no error. */
TARNBASE_API void kel_hd_mapping_destroy(kel_handle *handle, uint32_t tx_id, void *object,
                                         uint32_t *err);

/* ---- Variants and modified marks --------------------------------------- */

/* Returns the variant, signed in the low byte, that the domain uses for the type. */
TARNBASE_API uint32_t kel_domain_lookup_variant(kel_handle *handle, kel_variant_domain *domain,
                                                const kel_type_info *descriptor, uint32_t *err);
/* Returns the instance's variant; 0 for a null object. */
TARNBASE_API int32_t kel_get_instance_variant(const void *object, uint32_t is_structure,
                                              uint32_t is_small);
/*
 * Raises an instance's variant to the domain's before a write, logged, never
 * above `top_variant`. Returns the instance's variant; 0 for a null object.
 */
TARNBASE_API int32_t kellib_adjust_variant(kel_handle *handle, uint32_t tx_id, void *object,
                                           const kel_type_info *descriptor, int32_t top_variant,
                                           uint32_t *err);
/* Returns the object's modified mark. */
TARNBASE_API uint32_t kel_get_instance_modified(const void *object, uint32_t is_structure,
                                                uint32_t is_small);
/* Sets the modified mark to 1 or clears it with 0. Not logged: it has no handle. */
TARNBASE_API void kel_set_instance_modified(void *object, uint32_t is_structure, uint32_t is_small,
                                            uint32_t value);

/* ---- State tracking ---------------------------------------------------- */

/* Returns the distance from an object to its state block, if that isn't directly after it. */
TARNBASE_API uint32_t kellib_get_sttr_offset(kel_handle *handle, uint32_t tx_id,
                                             const void *object);
/*
 * Records that distance and sets OBJ_STATE_ELSEWHERE. If the runtime can't record it, it
 * calls kel_store_err, and the operation that called this service fails with that error.
 */
TARNBASE_API void kellib_update_sttr_offset(kel_handle *handle, uint32_t tx_id, void *object,
                                            uint32_t distance);
/* Returns nonzero if the marshalled object at `first_byte` contains state bytes. */
TARNBASE_API uint32_t kellib_type_header_get_state_tracking_flag(const void *first_byte);
/* Returns 0 if the object may be attached to a record, else an error number. */
TARNBASE_API uint32_t kellib_validate_object_flags(const void *object, uint32_t one,
                                                   uint32_t other_one);

/* ---- Wire primitives --------------------------------------------------- */

#define KEL_MESSAGE_HEADER_SIZE 27U /* bytes of a message header on the wire */
#define KEL_MESSAGE_MARKER 188U     /* first byte of every message header */

/* A record's message header in memory. */
typedef struct kel_message_header {
    uint8_t marker;        /* KEL_MESSAGE_MARKER */
    uint8_t filler[6];     /* each 255 */
    uint8_t state_tracked; /* nonzero: the value object contains state bytes */
    uint32_t stamp;        /* the handle's header_stamp */
    uint32_t length;       /* of the whole record, header and LUID included */
} kel_message_header;

/*
 * Each writes or reads one item of an object's wire form and returns its length;
 * 0 with EMSGSIZE if `remaining` is too small, 0 if *err is set on entry.
 */
TARNBASE_API uint32_t _kel_instance_variant_marshal(kel_handle *handle, uint32_t tx_id,
                                                    void *buffer, const int8_t *variant,
                                                    uint32_t remaining, uint32_t *err);
TARNBASE_API uint32_t _kel_instance_variant_unmarshal(kel_handle *handle, uint32_t tx_id,
                                                      const void *buffer, int8_t *variant,
                                                      uint32_t remaining, uint32_t *err);
TARNBASE_API uint32_t _kel_instance_obj_flag_marshal(kel_handle *handle, uint32_t tx_id,
                                                     void *buffer, const uint8_t *flags,
                                                     uint32_t remaining, uint32_t *err);
TARNBASE_API uint32_t _kel_instance_obj_flag_unmarshal(kel_handle *handle, uint32_t tx_id,
                                                       const void *buffer, uint8_t *flags,
                                                       uint32_t remaining, uint32_t *err);
TARNBASE_API uint32_t _kel_instance_ra_data_marshal(kel_handle *handle, uint32_t tx_id,
                                                    void *buffer, const uint64_t *ra_word,
                                                    const uint8_t *ra_byte, uint32_t remaining,
                                                    uint32_t *err);
TARNBASE_API uint32_t _kel_instance_ra_data_unmarshal(kel_handle *handle, uint32_t tx_id,
                                                      const void *buffer, uint64_t *ra_word,
                                                      uint8_t *ra_byte, uint32_t remaining,
                                                      uint32_t *err);
TARNBASE_API uint32_t _kel_variant_jump_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                                                const int32_t *jump, uint32_t remaining,
                                                uint32_t *err);
TARNBASE_API uint32_t _kel_variant_jump_unmarshal(kel_handle *handle, uint32_t tx_id,
                                                  const void *buffer, int32_t *jump,
                                                  uint32_t remaining, uint32_t *err);
TARNBASE_API uint32_t _kel_message_header_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                                                  const kel_message_header *header,
                                                  uint32_t remaining, uint32_t *err);
TARNBASE_API uint32_t _kel_message_header_unmarshal(kel_handle *handle, uint32_t tx_id,
                                                    const void *buffer, kel_message_header *header,
                                                    uint32_t remaining, uint32_t *err);

/* Returns the object's flags, without the runtime's own OBJ_MODIFIED. */
TARNBASE_API uint8_t kel_get_instance_obj_flag(const void *object, uint32_t is_structure,
                                               uint32_t is_small);
/*
 * Reads an object's trace correlation. Returns 0 or an error number. An object copied
 * from another can have OBJ_RA_DATA set and no such data: that is no error, nothing is
 * stored, and its wire form contains zeros there.
 */
TARNBASE_API uint32_t kellib_get_ra_data(kel_handle *handle, uint32_t tx_id, const void *object,
                                         uint64_t *ra_word, uint8_t *ra_byte);
/* Stores an object's trace correlation and sets OBJ_RA_DATA. */
TARNBASE_API void kellib_update_ra_all(kel_handle *handle, uint32_t tx_id, void *object,
                                       uint64_t ra_word, uint8_t ra_byte);
/* Stores a record's trace correlation. */
TARNBASE_API void kellib_record_update_ra_all(kel_handle *handle, uint32_t tx_id,
                                              kel_record *record, uint64_t uuid, uint8_t mark);
/* Stores the handle's workspace for clones and its length; null and 0 if it has none. */
TARNBASE_API void kellib_get_handle_ws(kel_handle *handle, void **workspace, uint32_t *length);

/* ---- Text and XML ------------------------------------------------------ */

/* Writes `indent` spaces to `buffer`; returns their number. EMSGSIZE: buffer too small. */
TARNBASE_API uint32_t kel_print_space(kel_handle *handle, uint32_t tx_id, char *buffer,
                                      uint32_t indent, uint32_t remaining, uint32_t *err);
/* As snprintf. Returns the characters written; 0 with EMSGSIZE: buffer too small. */
TARNBASE_API uint32_t kel_snprintf(kel_handle *handle, uint32_t tx_id, char *buffer,
                                   uint32_t remaining, uint32_t *err, const char *format, ...)
    TARNBASE_PRINTF(6, 7);
/* Write an element's opening and closing tag; return the tag's length. */
TARNBASE_API uint32_t start_tag(kel_handle *handle, uint32_t tx_id, char *buffer,
                                const char *element, uint32_t remaining, uint8_t state_flag,
                                uint32_t *err);
TARNBASE_API uint32_t end_tag(kel_handle *handle, uint32_t tx_id, char *buffer, const char *element,
                              uint32_t remaining, uint32_t *err);
/* Copies a text to `buffer`; returns its length. */
TARNBASE_API uint32_t xml_enum_print(kel_handle *handle, uint32_t tx_id, char *buffer,
                                     const char *text, uint32_t remaining, uint32_t text_len,
                                     uint32_t *err);
/* Counts the nodes that `path` selects. Returns 0, or an error number. */
TARNBASE_API uint32_t xml_get_element_nodecount(void *document, const char *path, uint32_t *count);
/* Copies an element's text, cut to `area_len`. Returns 0, ENOENT if there is none, or an error. */
TARNBASE_API uint32_t xml_get_element_value(void *document, const char *path, char *area,
                                            uint32_t area_len, uint32_t zero);

/* ---- Tenants and replication ------------------------------------------- */

/* Stores the current thread's tenant; 0 is the default tenant. */
TARNBASE_API void mt_get_tenant_id(uint16_t *tenant);
/* Counts a record in (direction 1) or out of (direction 0) a tenant's counters. */
TARNBASE_API void keldb_update_tenant_counter(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                              uint32_t direction, uint16_t tenant, uint8_t src,
                                              uint32_t *err);
/* Counts the tenant's records in the table, of one source, or of all if `src` is null. */
TARNBASE_API void keldb_get_tenant_counter(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                           uint32_t *count, uint16_t tenant, const uint8_t *src);
/* Appends a new record to the replication stream and moves the write cursor. */
TARNBASE_API void keldb_enq_rec_move_write_cursor_internal(kel_handle *handle, uint32_t tx_id,
                                                           kel_table *table, kel_record *record,
                                                           uint32_t *err);
/* Starts the deferred destruction of a record: sets its pending bit, logged. */
TARNBASE_API void keldb_request_record_destroy(kel_handle *handle, uint32_t tx_id,
                                               kel_record *record, uint32_t *err);
/* Reports to the replication engine that a record was read. */
TARNBASE_API void kelrepl_add_to_cache(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                       kel_record *record, const void *const *vector,
                                       uint32_t *err);

TARNBASE_END

#endif
