/* SPDX-License-Identifier: Apache-2.0 */
/* Made by tarnc from shapes.tarn; changes belong there. */
/*
 * tbl_shape: the shapes by number.
 * A record holds a st_shape. Its key is `number`: number of the shape; a key. The order is by
 * tenant, key and source.
 */
#ifndef TARNBASE_TABLES_tbl_shape_H
#define TARNBASE_TABLES_tbl_shape_H

#include <stdint.h>

#include "tarnbase/descriptor.h"
#include "tarnbase/export.h"
#include "tarnbase/handle.h"
#include "tarnbase/record.h"
#include "tarnbase/schema.h"
#include "tarnbase/types/st_shape.h"
#include "tarnbase/value.h"

TARNBASE_BEGIN

/* The descriptors of the table's blocks and of its records. */
extern TARNBASE_API const kel_type_info _tbl_shape_table_type_info_internal;
extern TARNBASE_API const kel_type_info _tbl_shape_table_record_type_info_internal;

/* The table's LUID, the same as hexadecimal text, and "table tbl_shape". */
extern TARNBASE_API const uint8_t table_tbl_shape_luid[16];
extern TARNBASE_API const char table_tbl_shape_luid_text[33];
extern TARNBASE_API const char table_tbl_shape_name[64];

/* The table's vector: the LUID, the name and the `_unsafe` operations. */
extern TARNBASE_API const void *const tbl_shape_table_vft[KEL_TABLE_VFT_SLOTS];

/*
 * Opens tbl_shape under a name, or makes it there if it is absent and `open_only` is 0.
 * Arguments: `name` is the caller's and only read. Without a '/' it forms the store's key together
 * with the table's LUID. With a '/' it is a path: its first 255 bytes are the key, which tables of
 * all kinds share. Opening a path that a table of another kind has gives that table's block,
 * without an error: compare the LUID of its `descriptor` with that of
 * _tbl_shape_table_type_info_internal.
 * Returns: the table block, which belongs to the store, or null.
 * Errors: 7 the key name is too long, but a path is cut; 12 no memory for the block. If there is
 * memory for the block but none for its entry in the keyed store, the new table is returned without
 * an error, but no later open finds it: the next one makes another, empty table. With `open_only`
 * set an absent table is null without an error.
 */
TARNBASE_API kel_table *tbl_shape_table_open(kel_handle *handle, uint32_t tx_id, const char *name,
                                             uint32_t open_only, uint32_t *err);
TARNBASE_API kel_table *tbl_shape_table_open_unsafe(kel_handle *handle, uint32_t tx_id,
                                                    const char *name, uint32_t open_only,
                                                    uint32_t *err);

/*
 * Opens the tbl_shape of table id `id`, or makes it if it is absent and `open_only` is 0.
 * Requires: in one process all handles that open, make or free a tbl_shape by id are on one store,
 * also after that store was closed. The root of a store's tables by id is found once in a process
 * and kept for good, so that a second store would be given the first one's tables. Open the tables
 * of any other store by name.
 * Returns: the table block, which belongs to the store, or null.
 * Errors: 12 no memory for the block or for the root. If there is none for the root's entry in the
 * keyed store, the table is returned without an error, but no other process finds it.
 */
TARNBASE_API kel_table *tbl_shape_table_open_by_id(kel_handle *handle, uint32_t tx_id, uint64_t id,
                                                   uint32_t open_only, uint32_t *err);
TARNBASE_API kel_table *tbl_shape_table_open_by_id_unsafe(kel_handle *handle, uint32_t tx_id,
                                                          uint64_t id, uint32_t open_only,
                                                          uint32_t *err);

/*
 * Makes a tbl_shape under the next free table id, which its `table_id` then holds.
 * Requires: one store in the process, as tbl_shape_table_open_by_id does.
 * Returns: the table block, which belongs to the store, or null; always null with `open_only` set.
 * Errors: 12 no memory.
 */
TARNBASE_API kel_table *tbl_shape_table_open_auto_id(kel_handle *handle, uint32_t tx_id,
                                                     uint32_t open_only, uint32_t *err);
TARNBASE_API kel_table *tbl_shape_table_open_auto_id_unsafe(kel_handle *handle, uint32_t tx_id,
                                                            uint32_t open_only, uint32_t *err);

/* As tbl_shape_table_open_auto_id, with a dynamic object-id mapping. */
TARNBASE_API kel_table *tbl_shape_dynamic_table_open_auto_id(kel_handle *handle, uint32_t tx_id,
                                                             uint32_t open_only, uint32_t *err);
TARNBASE_API kel_table *tbl_shape_dynamic_table_open_auto_id_unsafe(kel_handle *handle,
                                                                    uint32_t tx_id,
                                                                    uint32_t open_only,
                                                                    uint32_t *err);

/*
 * As tbl_shape_table_open. A block that is made here is mapped with the reference `ior`, which only
 * the runtime understands.
 */
TARNBASE_API kel_table *tbl_shape_table_open_by_ior_with_name(kel_handle *handle, uint32_t tx_id,
                                                              const char *name, uint64_t ior,
                                                              uint32_t open_only, uint32_t *err);
TARNBASE_API kel_table *tbl_shape_table_open_by_ior_with_name_unsafe(kel_handle *handle,
                                                                     uint32_t tx_id,
                                                                     const char *name, uint64_t ior,
                                                                     uint32_t open_only,
                                                                     uint32_t *err);

/*
 * As tbl_shape_table_open_by_id. A block that is made here is mapped with the reference `ior`,
 * which only the runtime understands.
 */
TARNBASE_API kel_table *tbl_shape_table_open_by_ior_with_id(kel_handle *handle, uint32_t tx_id,
                                                            uint64_t id, uint64_t ior,
                                                            uint32_t open_only, uint32_t *err);
TARNBASE_API kel_table *tbl_shape_table_open_by_ior_with_id_unsafe(kel_handle *handle,
                                                                   uint32_t tx_id, uint64_t id,
                                                                   uint64_t ior, uint32_t open_only,
                                                                   uint32_t *err);

/*
 * Opens by the way `mode` names, one of KEL_OPEN_..., with `name` or `id` as it needs them.
 * Returns: the table block or null, the error in the handle's last_error.
 */
TARNBASE_API kel_table *tbl_shape_table_open_cr(kel_handle *handle, uint32_t open_only,
                                                uint32_t mode, const char *name, uint64_t id);

/* Ends the caller's use of the table. The block isn't changed; a table needs no close. */
TARNBASE_API void tbl_shape_table_close(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                        uint32_t *err);
TARNBASE_API void tbl_shape_table_close_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                               uint32_t *err);

/* As tbl_shape_table_close, on the handle's last_error. */
TARNBASE_API void tbl_shape_table_close_cr(kel_handle *handle, kel_table *table);

/*
 * Takes the table out of the store and gives its block back. Records still in it are left behind:
 * empty it first.
 * Requires: for a table that was opened by id one store in the process, as
 * tbl_shape_table_open_by_id does.
 * Errors: 2 the table's root is missing; 7 the key name is too long; 11 the table still has
 * references, and stays usable.
 */
TARNBASE_API void tbl_shape_table_free(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                       uint32_t *err);
TARNBASE_API void tbl_shape_table_free_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                              uint32_t *err);

/*
 * Returns: the records of the current tenant in the table, of all sources; of all tenants if the
 * current one is tenant 0. 0 for a null table.
 */
TARNBASE_API uint32_t tbl_shape_table_get_count(kel_handle *handle, uint32_t tx_id,
                                                kel_table *table);
TARNBASE_API uint32_t tbl_shape_table_get_count_unsafe(kel_handle *handle, uint32_t tx_id,
                                                       kel_table *table);

/* As tbl_shape_table_get_count, of the records of one source: the low byte of `src`. */
TARNBASE_API uint32_t tbl_shape_table_get_count_by_src(kel_handle *handle, uint32_t tx_id,
                                                       kel_table *table, uint32_t src);
TARNBASE_API uint32_t tbl_shape_table_get_count_by_src_unsafe(kel_handle *handle, uint32_t tx_id,
                                                              kel_table *table, uint32_t src);

/* As tbl_shape_table_get_count, in the handle's own transaction. */
TARNBASE_API uint32_t tbl_shape_table_get_count_cr(kel_handle *handle, kel_table *table);

/*
 * Makes a record of source 1 and of the current tenant, with a reference count of 1 and no object.
 * Returns: the record, the caller's until it is inserted or destroyed; null if there is no memory.
 * Errors: none is reported. A record that was made leaves `*err` 0, whatever it held: make the
 * record before you set its fields. Without memory `*err` stays as it was: test the pointer.
 */
TARNBASE_API kel_record *tbl_shape_create_record(kel_handle *handle, uint32_t tx_id, uint32_t *err);
TARNBASE_API kel_record *tbl_shape_create_record_unsafe(kel_handle *handle, uint32_t tx_id,
                                                        uint32_t *err);

/* As tbl_shape_create_record, with the low byte of `src` as the record's source. */
TARNBASE_API kel_record *tbl_shape_create_record_w_src(kel_handle *handle, uint32_t tx_id,
                                                       uint32_t src, uint32_t *err);

/*
 * Makes a record in the handle's own transaction; with `with_objects` nonzero also its st_shape,
 * and attaches what it made. These objects are the record's, but they aren't marked as belonging to
 * one, so that a second record would take them too: don't attach them to another.
 * Returns: the record, never null: without memory it is the table's fallback record, one in the
 * process, shared by all handles and in no store. Don't fill it and don't insert it. With
 * `with_objects` nonzero destroy it with tbl_shape_record_destroy_cr: objects that there was memory
 * for are attached to it all the same.
 * Errors: last_error tells only of the objects. It is 12 if one is its type's fallback object, and
 * is set if one is null, because its fields could not be initialised (in a tracking handle also
 * without memory for a place). Without a record it ends as 0, so that with `with_objects` 0 it is
 * always 0: a fallback record is recognised by its address, which kel_record_is_fallback of the
 * embedded runtime does.
 */
TARNBASE_API kel_record *tbl_shape_record_create_cr(kel_handle *handle, uint32_t with_objects);

/*
 * Takes one more reference to a record; tbl_shape_destroy_record gives one back. The change isn't
 * logged.
 * Returns: the count before.
 * Errors: 2 `record` is null.
 */
TARNBASE_API uint32_t tbl_shape_record_add_ref(kel_handle *handle, uint32_t tx_id,
                                               kel_record *record, uint32_t *err);
TARNBASE_API uint32_t tbl_shape_record_add_ref_unsafe(kel_handle *handle, uint32_t tx_id,
                                                      kel_record *record, uint32_t *err);

/*
 * Gives one reference back. With the last one the record is taken out of the index, if its `table`
 * is set, and destroyed with the objects it owns.
 * Requires: while its `table` is set, the record can be deleted: `*err` is 0, the table isn't
 * marked for replication unless the handle's `replication_engine_active` is set, and the key is the
 * one it was inserted under. Otherwise the block is freed and stays in the index. The embedded
 * runtime's kel_record_release has no such condition.
 * Errors: 2 `record` is null. Runs with an error in `*err` too; the last reference leaves `*err` 0.
 */
TARNBASE_API void tbl_shape_destroy_record(kel_handle *handle, uint32_t tx_id, kel_record *record,
                                           uint32_t *err);
TARNBASE_API void tbl_shape_destroy_record_unsafe(kel_handle *handle, uint32_t tx_id,
                                                  kel_record *record, uint32_t *err);

/* As tbl_shape_destroy_record, in the handle's own transaction. */
TARNBASE_API void tbl_shape_record_destroy_cr(kel_handle *handle, kel_record *record);

/*
 * Marks a record of a replicated table for destruction once its deletion has been replicated.
 * Errors: 22 `record` is null or the table isn't marked for replication.
 */
TARNBASE_API void tbl_shape_request_record_destroy(kel_handle *handle, uint32_t tx_id,
                                                   kel_table *table, kel_record *record,
                                                   uint32_t *err);
TARNBASE_API void tbl_shape_request_record_destroy_unsafe(kel_handle *handle, uint32_t tx_id,
                                                          kel_table *table, kel_record *record,
                                                          uint32_t *err);

/*
 * Makes an object to hold a key outside a record; only its `number` matters.
 * Returns: the st_shape, the caller's; null if there is no memory.
 */
TARNBASE_API st_shape *tbl_shape_pkey_create(kel_handle *handle, uint32_t tx_id);
TARNBASE_API st_shape *tbl_shape_pkey_create_unsafe(kel_handle *handle, uint32_t tx_id);

/* Destroys what tbl_shape_pkey_create or tbl_shape_table_pkey_unmarshal made. */
TARNBASE_API void tbl_shape_pkey_destroy(kel_handle *handle, uint32_t tx_id, st_shape *key_object);
TARNBASE_API void tbl_shape_pkey_destroy_unsafe(kel_handle *handle, uint32_t tx_id,
                                                st_shape *key_object);

/*
 * Returns: the record's st_shape, which the record owns; null if none is attached.
 * Requires: `record` isn't null.
 */
TARNBASE_API st_shape *tbl_shape_st_shape_get_field(kel_handle *handle, uint32_t tx_id,
                                                    kel_record *record);

/*
 * Detaches the record's st_shape, which becomes the caller's. It stays marked as embedded, so that
 * no record takes it again.
 * Requires: `record` isn't null.
 * Returns: the object, or null if none was attached.
 */
TARNBASE_API st_shape *tbl_shape_st_shape_get_field_detach(kel_handle *handle, uint32_t tx_id,
                                                           kel_record *record);

/*
 * Attaches `object` to the record, which owns it from then on. What was attached before is left to
 * the caller. A null object is stored as such; one that belongs to a record or a parent already is
 * refused.
 * Requires: `record` isn't null.
 */
TARNBASE_API void tbl_shape_st_shape_set_field(kel_handle *handle, uint32_t tx_id,
                                               kel_record *record, st_shape *object);

/* As tbl_shape_st_shape_set_field, and destroys what was attached before. */
TARNBASE_API void tbl_shape_st_shape_free_and_set_field(kel_handle *handle, uint32_t tx_id,
                                                        kel_record *record, st_shape *object);

/*
 * Orders two records by tenant, key and source, for the index tree.
 * Returns: 0 `a` comes first, 1 they are equal, 2 `b` comes first. Null comes first.
 */
TARNBASE_API uint32_t tbl_shape_st_shape_number_avl_compare(const kel_index_node *a,
                                                            const kel_index_node *b);

/*
 * Enters a record in the index, under its tenant, `number` and source, and counts it.
 * Requires: `table` and `record` aren't null, and the object is attached.
 * Errors: 17 the key is present for this tenant and source; the record stays outside, the caller's.
 * After any other error the record is in the index, with `table` set: 12 there is no memory to
 * count it for the tenant; and what the replication of a marked and armed table reports. Roll back,
 * or set `*err` to 0 before you destroy it: tbl_shape_destroy_record tells what that needs.
 */
TARNBASE_API void tbl_shape_insert(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                   kel_record *record, uint32_t *err);
TARNBASE_API void tbl_shape_insert_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                          kel_record *record, uint32_t *err);

/* As tbl_shape_insert, and marks the record as inserted by its key alone. */
TARNBASE_API void tbl_shape_pkey_insert(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                        kel_record *record, uint32_t *err);
TARNBASE_API void tbl_shape_pkey_insert_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                               kel_record *record, uint32_t *err);

/*
 * As tbl_shape_insert, in the handle's own transaction.
 * Returns: the handle's last_error.
 */
TARNBASE_API uint32_t tbl_shape_insert_cr(kel_handle *handle, kel_table *table, kel_record *record);

/*
 * Takes a record out of the index; it stays alive, and a traversal may go on from it.
 * Requires: `table` and `record` aren't null.
 * Errors: 2 the record isn't in the index, and its `table` is null now; 22 the table is marked for
 * replication, so that only the replication engine may delete.
 */
TARNBASE_API void tbl_shape_delete(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                   kel_record *record, uint32_t *err);
TARNBASE_API void tbl_shape_delete_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                          kel_record *record, uint32_t *err);

/*
 * As tbl_shape_delete, in the handle's own transaction; a nonzero `destroy` then destroys the
 * record as tbl_shape_destroy_record does, also if the deletion failed.
 * Requires: with `destroy` what tbl_shape_destroy_record requires.
 * Returns: the handle's last_error. After the last reference was destroyed that is 0 even if the
 * deletion failed.
 */
TARNBASE_API uint32_t tbl_shape_delete_cr(kel_handle *handle, kel_table *table, kel_record *record,
                                          uint32_t destroy);

/*
 * Finds the record of source 1 and of the current tenant with the key.
 * Arguments: `key` is a number, the caller's.
 * Returns: the record, which stays the table's, or null.
 * Errors: 2 `table` or `key` is null. An absent key is no error.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_search(kel_handle *handle, uint32_t tx_id,
                                                          kel_table *table, const uint32_t *key,
                                                          uint32_t *err);
TARNBASE_API kel_record *tbl_shape_st_shape_number_search_unsafe(kel_handle *handle, uint32_t tx_id,
                                                                 kel_table *table,
                                                                 const uint32_t *key,
                                                                 uint32_t *err);

/* As tbl_shape_st_shape_number_search, for the source in the low byte of `src`. */
TARNBASE_API kel_record *tbl_shape_st_shape_number_search_w_src(kel_handle *handle, uint32_t tx_id,
                                                                kel_table *table,
                                                                const uint32_t *key, uint32_t src,
                                                                uint32_t *err);

/*
 * As tbl_shape_st_shape_number_search; if the key is absent, the next record of source 1 after it.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_search_nearest(kel_handle *handle,
                                                                  uint32_t tx_id, kel_table *table,
                                                                  const uint32_t *key,
                                                                  uint32_t *err);

/*
 * As tbl_shape_st_shape_number_search, passing over records that await their destruction. With
 * `nearest` nonzero, the next record of source 1 after an absent key.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_search_not_pending_destroy(
    kel_handle *handle, uint32_t tx_id, kel_table *table, const uint32_t *key, uint32_t nearest,
    uint32_t *err);

/*
 * Finds the record of source 1 and of the current tenant with the key, from which
 * tbl_shape_st_shape_number_get_sub_next goes on. A key that has records of other sources only
 * isn't found: tbl_shape_st_shape_number_search_w_src finds these.
 * Returns: the record, which stays the table's, or null.
 * Errors: 2 `table` or `key` is null.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_search_sub_first(kel_handle *handle,
                                                                    uint32_t tx_id,
                                                                    kel_table *table,
                                                                    const uint32_t *key,
                                                                    uint32_t *err);

/*
 * Finds a record in the handle's own transaction: of the source in the low byte of `src`, or 1 if
 * that is 0. If it is absent and `nearest` is nonzero, the next record of source 1 after the key,
 * whatever `src` is.
 * Returns: the record or null, the error in the handle's last_error.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_search_cr(kel_handle *handle, kel_table *table,
                                                             const uint32_t *key, uint32_t src,
                                                             uint32_t nearest);

/*
 * The search that the others call. An absent key with `nearest` nonzero gives the next record after
 * it, or before it if `forward` is 0: of source 1, whatever `src` is, unless `skip_pending` is set,
 * which keeps to `src` and passes over records that await their destruction.
 * Returns: the record, which stays the table's, or null.
 * Errors: 2 `table` or `key` is null.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_search_internal(kel_handle *handle,
                                                                   uint32_t tx_id, kel_table *table,
                                                                   const uint32_t *key,
                                                                   uint32_t nearest,
                                                                   uint32_t forward, uint32_t src,
                                                                   uint32_t skip_pending,
                                                                   uint32_t *err);

/*
 * As tbl_shape_st_shape_number_search, by the `number` of an object. With `nearest` nonzero, the
 * next record of source 1 after an absent key.
 * Errors: 2 `table` or `object` is null.
 */
TARNBASE_API kel_record *tbl_shape_search(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                          const st_shape *object, uint32_t nearest, uint32_t *err);
TARNBASE_API kel_record *tbl_shape_search_unsafe(kel_handle *handle, uint32_t tx_id,
                                                 kel_table *table, const st_shape *object,
                                                 uint32_t nearest, uint32_t *err);

/*
 * As tbl_shape_search, for the source in the low byte of `src`. A record that is only the nearest
 * one is always of source 1.
 */
TARNBASE_API kel_record *tbl_shape_search_w_src(kel_handle *handle, uint32_t tx_id,
                                                kel_table *table, const st_shape *object,
                                                uint32_t nearest, uint32_t src, uint32_t *err);
TARNBASE_API kel_record *tbl_shape_search_w_src_unsafe(kel_handle *handle, uint32_t tx_id,
                                                       kel_table *table, const st_shape *object,
                                                       uint32_t nearest, uint32_t src,
                                                       uint32_t *err);

/*
 * Finds the first record of source 1 and of the current tenant, in key order.
 * Returns: the record, which stays the table's; null with no error if there is none.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_first(kel_handle *handle, uint32_t tx_id,
                                                             kel_table *table, uint32_t *err);

/* As tbl_shape_st_shape_number_get_first, for the source in the low byte of `src`. */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_first_by_src(kel_handle *handle,
                                                                    uint32_t tx_id,
                                                                    kel_table *table, uint32_t src,
                                                                    uint32_t *err);

/*
 * As tbl_shape_st_shape_number_get_first_by_src, passing over records that await their destruction.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_first_not_pending_destroy(
    kel_handle *handle, uint32_t tx_id, kel_table *table, uint32_t src, uint32_t *err);

/* Finds the first record of the current tenant, whatever its source. */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_first_ignore_src(kel_handle *handle,
                                                                        uint32_t tx_id,
                                                                        kel_table *table,
                                                                        uint32_t *err);

/* As tbl_shape_st_shape_number_get_first, the last record. */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_last(kel_handle *handle, uint32_t tx_id,
                                                            kel_table *table, uint32_t *err);

/* As tbl_shape_st_shape_number_get_last, for the source in the low byte of `src`. */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_last_by_src(kel_handle *handle,
                                                                   uint32_t tx_id, kel_table *table,
                                                                   uint32_t src, uint32_t *err);

/*
 * As tbl_shape_st_shape_number_get_last_by_src, passing over records that await their destruction.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_last_not_pending_destroy(
    kel_handle *handle, uint32_t tx_id, kel_table *table, uint32_t src, uint32_t *err);

/*
 * Finds the next record of source 1 after `record`, which need not be in the table any more.
 * Returns: the record, which stays the table's; null with no error at the end.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_next(kel_handle *handle, uint32_t tx_id,
                                                            kel_table *table,
                                                            const kel_record *record,
                                                            uint32_t *err);

/* As tbl_shape_st_shape_number_get_next, backwards. */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_prev(kel_handle *handle, uint32_t tx_id,
                                                            kel_table *table,
                                                            const kel_record *record,
                                                            uint32_t *err);

/* As tbl_shape_st_shape_number_get_next, for the source in the low byte of `src`. */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_next_by_src(kel_handle *handle,
                                                                   uint32_t tx_id, kel_table *table,
                                                                   const kel_record *record,
                                                                   uint32_t src, uint32_t *err);

/* As tbl_shape_st_shape_number_get_prev, for the source in the low byte of `src`. */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_prev_by_src(kel_handle *handle,
                                                                   uint32_t tx_id, kel_table *table,
                                                                   const kel_record *record,
                                                                   uint32_t src, uint32_t *err);

/*
 * As tbl_shape_st_shape_number_get_next_by_src, passing over records that await their destruction.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_next_not_pending_destroy(
    kel_handle *handle, uint32_t tx_id, kel_table *table, const kel_record *record, uint32_t src,
    uint32_t *err);

/*
 * As tbl_shape_st_shape_number_get_prev_by_src, passing over records that await their destruction.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_prev_not_pending_destroy(
    kel_handle *handle, uint32_t tx_id, kel_table *table, const kel_record *record, uint32_t src,
    uint32_t *err);

/* One step forward within the current tenant, whatever the source. */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_next_ignore_src(kel_handle *handle,
                                                                       uint32_t tx_id,
                                                                       kel_table *table,
                                                                       const kel_record *record,
                                                                       uint32_t *err);

/* One step back within the current tenant, whatever the source. */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_prev_ignore_src(kel_handle *handle,
                                                                       uint32_t tx_id,
                                                                       kel_table *table,
                                                                       const kel_record *record,
                                                                       uint32_t *err);

/*
 * The next record with the same key; null if there is none. Its source is another one, or its
 * tenant: after the last record of a tenant the step goes on to the next tenant's first, if that
 * has the same key.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_sub_next(kel_handle *handle, uint32_t tx_id,
                                                                kel_table *table,
                                                                kel_record *record, uint32_t *err);

/*
 * The record before with the same key; null if there is none. Its source is another one, or its
 * tenant, as tbl_shape_st_shape_number_get_sub_next tells.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_sub_prev(kel_handle *handle, uint32_t tx_id,
                                                                kel_table *table,
                                                                kel_record *record, uint32_t *err);

/*
 * The shadow of the record's key, of source 255: `record` itself, or the first that steps of
 * tbl_shape_st_shape_number_get_sub_next come to, so that it can be another tenant's. Null if there
 * is none, or `record` is null.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_shadow(kel_handle *handle, uint32_t tx_id,
                                                              kel_table *table, kel_record *record,
                                                              uint32_t *err);

/*
 * Finds the first record of source 1 and of the current tenant, in key order.
 * Returns: the record, which stays the table's; null with no error if there is none.
 */
TARNBASE_API kel_record *tbl_shape_pkey_get_first(kel_handle *handle, uint32_t tx_id,
                                                  kel_table *table, uint32_t *err);
TARNBASE_API kel_record *tbl_shape_pkey_get_first_unsafe(kel_handle *handle, uint32_t tx_id,
                                                         kel_table *table, uint32_t *err);

/* As tbl_shape_pkey_get_first, for the source in the low byte of `src`. */
TARNBASE_API kel_record *tbl_shape_pkey_get_first_by_src(kel_handle *handle, uint32_t tx_id,
                                                         kel_table *table, uint32_t src,
                                                         uint32_t *err);
TARNBASE_API kel_record *tbl_shape_pkey_get_first_by_src_unsafe(kel_handle *handle, uint32_t tx_id,
                                                                kel_table *table, uint32_t src,
                                                                uint32_t *err);

/* Finds the first record of the current tenant, whatever its source. */
TARNBASE_API kel_record *tbl_shape_pkey_get_first_ignore_src(kel_handle *handle, uint32_t tx_id,
                                                             kel_table *table, uint32_t *err);
TARNBASE_API kel_record *tbl_shape_pkey_get_first_ignore_src_unsafe(kel_handle *handle,
                                                                    uint32_t tx_id,
                                                                    kel_table *table,
                                                                    uint32_t *err);

/* As tbl_shape_pkey_get_first, the last record. */
TARNBASE_API kel_record *tbl_shape_pkey_get_last(kel_handle *handle, uint32_t tx_id,
                                                 kel_table *table, uint32_t *err);
TARNBASE_API kel_record *tbl_shape_pkey_get_last_unsafe(kel_handle *handle, uint32_t tx_id,
                                                        kel_table *table, uint32_t *err);

/* As tbl_shape_pkey_get_last, for the source in the low byte of `src`. */
TARNBASE_API kel_record *tbl_shape_pkey_get_last_by_src(kel_handle *handle, uint32_t tx_id,
                                                        kel_table *table, uint32_t src,
                                                        uint32_t *err);
TARNBASE_API kel_record *tbl_shape_pkey_get_last_by_src_unsafe(kel_handle *handle, uint32_t tx_id,
                                                               kel_table *table, uint32_t src,
                                                               uint32_t *err);

/*
 * Finds the next record of source 1 after `record`, which need not be in the table any more.
 * Returns: the record, which stays the table's; null with no error at the end.
 */
TARNBASE_API kel_record *tbl_shape_pkey_get_next(kel_handle *handle, uint32_t tx_id,
                                                 kel_table *table, const kel_record *record,
                                                 uint32_t *err);
TARNBASE_API kel_record *tbl_shape_pkey_get_next_unsafe(kel_handle *handle, uint32_t tx_id,
                                                        kel_table *table, const kel_record *record,
                                                        uint32_t *err);

/* As tbl_shape_pkey_get_next, backwards. */
TARNBASE_API kel_record *tbl_shape_pkey_get_prev(kel_handle *handle, uint32_t tx_id,
                                                 kel_table *table, const kel_record *record,
                                                 uint32_t *err);
TARNBASE_API kel_record *tbl_shape_pkey_get_prev_unsafe(kel_handle *handle, uint32_t tx_id,
                                                        kel_table *table, const kel_record *record,
                                                        uint32_t *err);

/* As tbl_shape_pkey_get_next, for the source in the low byte of `src`. */
TARNBASE_API kel_record *tbl_shape_pkey_get_next_by_src(kel_handle *handle, uint32_t tx_id,
                                                        kel_table *table, const kel_record *record,
                                                        uint32_t src, uint32_t *err);
TARNBASE_API kel_record *tbl_shape_pkey_get_next_by_src_unsafe(kel_handle *handle, uint32_t tx_id,
                                                               kel_table *table,
                                                               const kel_record *record,
                                                               uint32_t src, uint32_t *err);

/* As tbl_shape_pkey_get_prev, for the source in the low byte of `src`. */
TARNBASE_API kel_record *tbl_shape_pkey_get_prev_by_src(kel_handle *handle, uint32_t tx_id,
                                                        kel_table *table, const kel_record *record,
                                                        uint32_t src, uint32_t *err);
TARNBASE_API kel_record *tbl_shape_pkey_get_prev_by_src_unsafe(kel_handle *handle, uint32_t tx_id,
                                                               kel_table *table,
                                                               const kel_record *record,
                                                               uint32_t src, uint32_t *err);

/* One step forward within the current tenant, whatever the source. */
TARNBASE_API kel_record *tbl_shape_pkey_get_next_ignore_src(kel_handle *handle, uint32_t tx_id,
                                                            kel_table *table,
                                                            const kel_record *record,
                                                            uint32_t *err);
TARNBASE_API kel_record *tbl_shape_pkey_get_next_ignore_src_unsafe(kel_handle *handle,
                                                                   uint32_t tx_id, kel_table *table,
                                                                   const kel_record *record,
                                                                   uint32_t *err);

/* One step back within the current tenant, whatever the source. */
TARNBASE_API kel_record *tbl_shape_pkey_get_prev_ignore_src(kel_handle *handle, uint32_t tx_id,
                                                            kel_table *table,
                                                            const kel_record *record,
                                                            uint32_t *err);
TARNBASE_API kel_record *tbl_shape_pkey_get_prev_ignore_src_unsafe(kel_handle *handle,
                                                                   uint32_t tx_id, kel_table *table,
                                                                   const kel_record *record,
                                                                   uint32_t *err);

/*
 * The next record with the same key; null if there is none. Its source is another one, or its
 * tenant: after the last record of a tenant the step goes on to the next tenant's first, if that
 * has the same key.
 */
TARNBASE_API kel_record *tbl_shape_pkey_get_sub_next(kel_handle *handle, uint32_t tx_id,
                                                     kel_table *table, kel_record *record,
                                                     uint32_t *err);
TARNBASE_API kel_record *tbl_shape_pkey_get_sub_next_unsafe(kel_handle *handle, uint32_t tx_id,
                                                            kel_table *table, kel_record *record,
                                                            uint32_t *err);

/*
 * The record before with the same key; null if there is none. Its source is another one, or its
 * tenant, as tbl_shape_pkey_get_sub_next tells.
 */
TARNBASE_API kel_record *tbl_shape_pkey_get_sub_prev(kel_handle *handle, uint32_t tx_id,
                                                     kel_table *table, kel_record *record,
                                                     uint32_t *err);
TARNBASE_API kel_record *tbl_shape_pkey_get_sub_prev_unsafe(kel_handle *handle, uint32_t tx_id,
                                                            kel_table *table, kel_record *record,
                                                            uint32_t *err);

/*
 * The shadow of the record's key, of source 255: `record` itself, or the first that steps of
 * tbl_shape_pkey_get_sub_next come to, so that it can be another tenant's. Null if there is none,
 * or `record` is null.
 */
TARNBASE_API kel_record *tbl_shape_pkey_get_shadow(kel_handle *handle, uint32_t tx_id,
                                                   kel_table *table, kel_record *record,
                                                   uint32_t *err);
TARNBASE_API kel_record *tbl_shape_pkey_get_shadow_unsafe(kel_handle *handle, uint32_t tx_id,
                                                          kel_table *table, kel_record *record,
                                                          uint32_t *err);

/*
 * Finds the next record of source 1 after a key, which need not be present.
 * Arguments: `key` is a number, the caller's.
 * Returns: the record, which stays the table's; null with no error at the end.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_next_by_key(kel_handle *handle,
                                                                   uint32_t tx_id, kel_table *table,
                                                                   const uint32_t *key,
                                                                   uint32_t *err);

/* As tbl_shape_st_shape_number_get_next_by_key, backwards. */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_prev_by_key(kel_handle *handle,
                                                                   uint32_t tx_id, kel_table *table,
                                                                   const uint32_t *key,
                                                                   uint32_t *err);

/*
 * As tbl_shape_st_shape_number_get_next_by_key, passing over records that await their destruction.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_next_by_key_not_pending_destroy(
    kel_handle *handle, uint32_t tx_id, kel_table *table, const uint32_t *key, uint32_t *err);

/*
 * As tbl_shape_st_shape_number_get_prev_by_key, passing over records that await their destruction.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_prev_by_key_not_pending_destroy(
    kel_handle *handle, uint32_t tx_id, kel_table *table, const uint32_t *key, uint32_t *err);

/*
 * As tbl_shape_st_shape_number_get_next_by_key, for the source in the low byte of `src`. If `src`
 * has no record with the key, the next record is one of source 1.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_next_by_key_w_src(
    kel_handle *handle, uint32_t tx_id, kel_table *table, const uint32_t *key, uint32_t src,
    uint32_t *err);

/* As tbl_shape_st_shape_number_get_next_by_key, by the `number` of an object. */
TARNBASE_API kel_record *tbl_shape_get_next_by_key(kel_handle *handle, uint32_t tx_id,
                                                   kel_table *table, const st_shape *object,
                                                   uint32_t *err);
TARNBASE_API kel_record *tbl_shape_get_next_by_key_unsafe(kel_handle *handle, uint32_t tx_id,
                                                          kel_table *table, const st_shape *object,
                                                          uint32_t *err);

/* As tbl_shape_get_next_by_key, backwards. */
TARNBASE_API kel_record *tbl_shape_get_prev_by_key(kel_handle *handle, uint32_t tx_id,
                                                   kel_table *table, const st_shape *object,
                                                   uint32_t *err);
TARNBASE_API kel_record *tbl_shape_get_prev_by_key_unsafe(kel_handle *handle, uint32_t tx_id,
                                                          kel_table *table, const st_shape *object,
                                                          uint32_t *err);

/*
 * As tbl_shape_get_next_by_key, for the source in the low byte of `src`. If `src` has no record
 * with the key, the next record is one of source 1.
 */
TARNBASE_API kel_record *tbl_shape_get_next_by_key_w_src(kel_handle *handle, uint32_t tx_id,
                                                         kel_table *table, const st_shape *object,
                                                         uint32_t src, uint32_t *err);

/*
 * Traverses in the handle's own transaction.
 * Arguments: `selector` 0 first, 1 last, 2 before, 3 after `record`; `src`'s low byte is the
 * source, 1 if that is 0; a nonzero `mode` takes records of every source.
 * Returns: the record or null, the error in the handle's last_error: 22 another selector.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_cr(kel_handle *handle, kel_table *table,
                                                          uint32_t selector,
                                                          const kel_record *record, uint32_t src,
                                                          uint32_t mode);

/*
 * The step forward that the others are made of: `match_src` keeps to the source in the low byte of
 * `src`, `skip_pending` passes over records that await their destruction.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_next_internal(kel_handle *handle,
                                                                     uint32_t tx_id,
                                                                     kel_table *table,
                                                                     const kel_record *record,
                                                                     uint32_t src,
                                                                     uint32_t match_src,
                                                                     uint32_t skip_pending,
                                                                     uint32_t *err);

/* As tbl_shape_st_shape_number_get_next_internal, backwards. */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_prev_internal(kel_handle *handle,
                                                                     uint32_t tx_id,
                                                                     kel_table *table,
                                                                     const kel_record *record,
                                                                     uint32_t src,
                                                                     uint32_t match_src,
                                                                     uint32_t skip_pending,
                                                                     uint32_t *err);

/*
 * Calls `function` with each record, of all tenants and sources, in index order, and `context`,
 * until it returns nonzero. It may delete and destroy the record that it was handed.
 */
TARNBASE_API void tbl_shape_st_shape_number_walk(kel_table *table, kel_walk_function function,
                                                 void *context, uint32_t *err);

/*
 * Walks as tbl_shape_st_shape_number_walk does, unless the handle's last_error is set. `key_number`
 * is 0, the only key.
 */
TARNBASE_API void tbl_shape_record_walk_cr(kel_handle *handle, kel_table *table,
                                           uint32_t key_number, kel_walk_function function,
                                           void *context);

/*
 * The index tree's callback in a walk: hands the record of `node` to the function of `pair`, a
 * kel_walk_pair, and ends with that call.
 * Returns: what the function returns.
 */
TARNBASE_API uint32_t tbl_shape_st_shape_number_avl_internal_walk(kel_index_node *node, void *pair);

/* Does nothing; kept for programs that link it. */
TARNBASE_API void tbl_shape_st_shape_number_unordered_traversal(void);

/* Calls sample_tbl_shape_table_record_create_handler, unless `*err` is set. */
TARNBASE_API void tbl_shape_table_record_create_cb(kel_handle *handle, uint32_t tx_id, void *table,
                                                   void *record, uint32_t *err);
TARNBASE_API void tbl_shape_table_record_create_cb_unsafe(kel_handle *handle, uint32_t tx_id,
                                                          void *table, void *record, uint32_t *err);

/* Calls sample_tbl_shape_table_record_modify_handler, unless `*err` is set. */
TARNBASE_API void tbl_shape_table_record_modify_cb(kel_handle *handle, uint32_t tx_id, void *table,
                                                   void *record, uint32_t *err);
TARNBASE_API void tbl_shape_table_record_modify_cb_unsafe(kel_handle *handle, uint32_t tx_id,
                                                          void *table, void *record, uint32_t *err);

/* Calls sample_tbl_shape_table_record_delete_handler, unless `*err` is set. */
TARNBASE_API void tbl_shape_table_record_delete_cb(kel_handle *handle, uint32_t tx_id, void *table,
                                                   void *record, uint32_t *err);
TARNBASE_API void tbl_shape_table_record_delete_cb_unsafe(kel_handle *handle, uint32_t tx_id,
                                                          void *table, void *record, uint32_t *err);

/* Calls sample_tbl_shape_table_record_create_dm_handler, unless `*err` is set. */
TARNBASE_API void tbl_shape_table_record_create_dm_cb(kel_handle *handle, uint32_t tx_id,
                                                      void *record, uint32_t *err);
TARNBASE_API void tbl_shape_table_record_create_dm_cb_unsafe(kel_handle *handle, uint32_t tx_id,
                                                             void *record, uint32_t *err);

/* Calls sample_tbl_shape_table_record_delete_dm_handler, unless `*err` is set. */
TARNBASE_API void tbl_shape_table_record_delete_dm_cb(kel_handle *handle, uint32_t tx_id,
                                                      void *record, uint32_t *err);
TARNBASE_API void tbl_shape_table_record_delete_dm_cb_unsafe(kel_handle *handle, uint32_t tx_id,
                                                             void *record, uint32_t *err);

/* Calls sample_tbl_shape_table_record_grouping_handler, unless `*err` is set. */
TARNBASE_API void tbl_shape_table_record_grouping_cb(kel_handle *handle, uint32_t tx_id, void *item,
                                                     uint32_t *err, void *arg1, void *arg2);
TARNBASE_API void tbl_shape_table_record_grouping_cb_unsafe(kel_handle *handle, uint32_t tx_id,
                                                            void *item, uint32_t *err, void *arg1,
                                                            void *arg2);

/* Calls sample_tbl_shape_table_record_free_handler, unless `*err` is set. */
TARNBASE_API void tbl_shape_table_record_free_cb(kel_handle *handle, uint32_t tx_id, void *item,
                                                 uint32_t *err, void *arg1);
TARNBASE_API void tbl_shape_table_record_free_cb_unsafe(kel_handle *handle, uint32_t tx_id,
                                                        void *item, uint32_t *err, void *arg1);

/*
 * Prints the record's key at `buffer`, as its field `number`.
 * Returns: the characters written.
 * Errors: 22 the handle, `table` or `record` is null; 90 too little room.
 */
TARNBASE_API uint32_t tbl_shape_pkey_print(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                           const kel_record *record, char *buffer,
                                           uint32_t buffer_len, uint32_t *err);
TARNBASE_API uint32_t tbl_shape_pkey_print_unsafe(kel_handle *handle, uint32_t tx_id,
                                                  kel_table *table, const kel_record *record,
                                                  char *buffer, uint32_t buffer_len, uint32_t *err);

/*
 * Returns: the bytes that tbl_shape_table_pkey_marshal writes.
 * Requires: `record` isn't null.
 */
TARNBASE_API uint32_t tbl_shape_table_pkey_len(kel_handle *handle, uint32_t tx_id,
                                               const kel_record *record);
TARNBASE_API uint32_t tbl_shape_table_pkey_len_unsafe(kel_handle *handle, uint32_t tx_id,
                                                      const kel_record *record);

/*
 * Writes the wire form of the record's key, `number` alone.
 * Requires: `record` isn't null.
 * Returns: the bytes written; 0 on failure.
 * Errors: 90 too little room, nothing written.
 */
TARNBASE_API uint32_t tbl_shape_table_pkey_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                                                   const kel_record *record, uint32_t buffer_len,
                                                   uint32_t *err);
TARNBASE_API uint32_t tbl_shape_table_pkey_marshal_unsafe(kel_handle *handle, uint32_t tx_id,
                                                          void *buffer, const kel_record *record,
                                                          uint32_t buffer_len, uint32_t *err);

/*
 * Makes a key object from its wire form and stores it through `pkey`; the caller destroys it with
 * tbl_shape_pkey_destroy.
 * Returns: the bytes read; of no use after an error.
 * Errors: 12 no memory; 14 `pkey` is null; 90 too few bytes. An error of the reading itself leaves
 * a key object in `*pkey`, which the caller destroys: let `*pkey` be null before.
 */
TARNBASE_API uint32_t tbl_shape_table_pkey_unmarshal(kel_handle *handle, uint32_t tx_id,
                                                     void **pkey, const void *buffer,
                                                     uint32_t buffer_len, uint32_t *err);
TARNBASE_API uint32_t tbl_shape_table_pkey_unmarshal_unsafe(kel_handle *handle, uint32_t tx_id,
                                                            void **pkey, const void *buffer,
                                                            uint32_t buffer_len, uint32_t *err);

/*
 * Prints the record as text. A record without an object prints as one with empty fields.
 * Requires: `record` isn't null; `buffer` holds blanks, since the indentation of closing braces is
 * stepped over.
 * Returns: the characters written, also after an error. With an error in `*err` on entry these are
 * the first and the last line.
 * Errors: 90 too little room: an object wants at least as much as its wire form.
 */
TARNBASE_API uint32_t tbl_shape_table_record_print(kel_handle *handle, uint32_t tx_id, char *buffer,
                                                   const kel_record *record, uint32_t buffer_len,
                                                   uint32_t *err);
TARNBASE_API uint32_t tbl_shape_table_record_print_unsafe(kel_handle *handle, uint32_t tx_id,
                                                          char *buffer, const kel_record *record,
                                                          uint32_t buffer_len, uint32_t *err);

/*
 * As tbl_shape_table_record_print, in the handle's own transaction.
 * Returns: the characters written; 0xFFFFFFFF if the handle's last_error is set.
 */
TARNBASE_API uint32_t tbl_shape_record_print_cr(kel_handle *handle, const kel_record *record,
                                                char *buffer, uint32_t buffer_len);

/*
 * Writes the record as XML. A record without an object is written as one with empty fields.
 * Requires: `record` isn't null.
 * Returns: the characters written, also after an error; 0 with an error in `*err` on entry.
 * Errors: 22 a string that XML can't carry, or a tracking handle and an object without a state
 * block; 90 too little room.
 */
TARNBASE_API uint32_t tbl_shape_table_record_to_xml(kel_handle *handle, uint32_t tx_id,
                                                    char *buffer, const kel_record *record,
                                                    uint32_t buffer_len, uint32_t *err);
TARNBASE_API uint32_t tbl_shape_table_record_to_xml_unsafe(kel_handle *handle, uint32_t tx_id,
                                                           char *buffer, const kel_record *record,
                                                           uint32_t buffer_len, uint32_t *err);

/*
 * As tbl_shape_table_record_to_xml, in the handle's own transaction.
 * Returns: the characters written; 0xFFFFFFFF if the handle's last_error is set.
 */
TARNBASE_API uint32_t tbl_shape_record_toxml_cr(kel_handle *handle, const kel_record *record,
                                                char *buffer, uint32_t buffer_len);

/*
 * Makes a record from a parsed document of the XML service. An absent element leaves its field as
 * it was made, so that a document without the object gives a record with an empty one.
 * Arguments: a failure of the XML service at an enumeration is told in `message`, of `message_len`
 * bytes, unless that is null.
 * Returns: the record, the caller's, or null.
 * Errors: 12 no memory; 22 an element's text isn't of its field's type. After an error the record
 * that was begun is not released: roll the transaction back.
 */
TARNBASE_API kel_record *tbl_shape_table_record_from_xml(kel_handle *handle, uint32_t tx_id,
                                                         void *document, uint32_t *err,
                                                         char *message, uint32_t message_len);
TARNBASE_API kel_record *tbl_shape_table_record_from_xml_unsafe(kel_handle *handle, uint32_t tx_id,
                                                                void *document, uint32_t *err,
                                                                char *message,
                                                                uint32_t message_len);

/*
 * Asks for the modified marks of the record's object, and clears those that it finds.
 * Requires: `record` isn't null.
 * Returns: 1 if there was one, else 0, also for a record without an object.
 * Errors: none of its own.
 */
TARNBASE_API uint32_t tbl_shape_table_record_is_modified(kel_handle *handle, uint32_t tx_id,
                                                         kel_record *record, uint32_t *err);
TARNBASE_API uint32_t tbl_shape_table_record_is_modified_unsafe(kel_handle *handle, uint32_t tx_id,
                                                                kel_record *record, uint32_t *err);

/*
 * Writes the wire form of the record: the message header, the table's LUID, and the object.
 * Requires: `record` isn't null. In a tracking handle `buffer` has one byte more than `buffer_len`:
 * in a form that fills the buffer the last state byte is stored there.
 * Returns: the bytes written, which are a frame only if `*err` is 0.
 * Errors: 2 the record has no object, whatever the room; 12 there is no byte of room for an object;
 * 43 an object's variant is above the domain's, whose form is written then; 90 too little room.
 */
TARNBASE_API uint32_t tbl_shape_table_record_marshal(kel_handle *handle, uint32_t tx_id,
                                                     void *buffer, const kel_record *record,
                                                     uint32_t buffer_len, uint32_t *err);
TARNBASE_API uint32_t tbl_shape_table_record_marshal_unsafe(kel_handle *handle, uint32_t tx_id,
                                                            void *buffer, const kel_record *record,
                                                            uint32_t buffer_len, uint32_t *err);

/*
 * As tbl_shape_table_record_marshal, in the handle's own transaction.
 * Returns: the bytes written; 0xFFFFFFFF if the handle's last_error is set.
 */
TARNBASE_API uint32_t tbl_shape_record_marshal_cr(kel_handle *handle, const kel_record *record,
                                                  void *buffer, uint32_t buffer_len);

/*
 * Reads the wire form of a record. With `in_place` nonzero it goes into the record that `*record`
 * is; else a new record, the caller's, is stored there. The LUID in the frame isn't compared: any
 * table's frame is read.
 * Requires: in a tracking handle what is read into tracks state; else the process ends.
 * Returns: the bytes read; of no use after an error.
 * Errors: 2 there is no record or object to read into; 12 no memory, or no byte left for an object;
 * 90 too few bytes. After an error `*record` may be a new record, half read, which the caller
 * destroys with `*err` 0: let `*record` be null before.
 */
TARNBASE_API uint32_t tbl_shape_table_record_unmarshal(kel_handle *handle, uint32_t tx_id,
                                                       kel_record **record, const void *buffer,
                                                       uint32_t buffer_len, uint32_t in_place,
                                                       uint32_t *err);
TARNBASE_API uint32_t tbl_shape_table_record_unmarshal_unsafe(kel_handle *handle, uint32_t tx_id,
                                                              kel_record **record,
                                                              const void *buffer,
                                                              uint32_t buffer_len,
                                                              uint32_t in_place, uint32_t *err);

/*
 * Returns: the bytes that tbl_shape_table_record_marshal writes.
 * Requires: `record` isn't null.
 */
TARNBASE_API uint32_t tbl_shape_table_record_len(kel_handle *handle, uint32_t tx_id,
                                                 const kel_record *record);
TARNBASE_API uint32_t tbl_shape_table_record_len_unsafe(kel_handle *handle, uint32_t tx_id,
                                                        const kel_record *record);

/*
 * As tbl_shape_table_record_len, in the handle's own transaction; 0 if the handle's last_error is
 * set.
 */
TARNBASE_API uint32_t tbl_shape_record_len_cr(kel_handle *handle, const kel_record *record);

/*
 * Called when the runtime delivers a create event of the table. A program takes part by defining a
 * function of this name; the default sets `*err` to 0.
 */
TARNBASE_API void sample_tbl_shape_table_record_create_handler(kel_handle *handle, uint32_t tx_id,
                                                               void *table, void *record,
                                                               uint32_t *err);

/*
 * Called when the runtime delivers a modify event of the table. A program takes part by defining a
 * function of this name; the default sets `*err` to 0.
 */
TARNBASE_API void sample_tbl_shape_table_record_modify_handler(kel_handle *handle, uint32_t tx_id,
                                                               void *table, void *record,
                                                               uint32_t *err);

/*
 * Called when the runtime delivers a delete event of the table. A program takes part by defining a
 * function of this name; the default sets `*err` to 0.
 */
TARNBASE_API void sample_tbl_shape_table_record_delete_handler(kel_handle *handle, uint32_t tx_id,
                                                               void *table, void *record,
                                                               uint32_t *err);

/*
 * Called when the runtime delivers a create DM event of the table. A program takes part by defining
 * a function of this name; the default calls sample_tbl_shape_table_record_create_handler with a
 * null table.
 */
TARNBASE_API void sample_tbl_shape_table_record_create_dm_handler(kel_handle *handle,
                                                                  uint32_t tx_id, void *record,
                                                                  uint32_t *err);

/*
 * Called when the runtime delivers a delete DM event of the table. A program takes part by defining
 * a function of this name; the default calls sample_tbl_shape_table_record_delete_handler with a
 * null table.
 */
TARNBASE_API void sample_tbl_shape_table_record_delete_dm_handler(kel_handle *handle,
                                                                  uint32_t tx_id, void *record,
                                                                  uint32_t *err);

/*
 * Called when the runtime delivers a grouping event of the table. A program takes part by defining
 * a function of this name; the default sets `*err` to 0.
 */
TARNBASE_API void sample_tbl_shape_table_record_grouping_handler(kel_handle *handle, uint32_t tx_id,
                                                                 void *item, uint32_t *err,
                                                                 void *arg1, void *arg2);

/*
 * Called when the runtime delivers a free event of the table. A program takes part by defining a
 * function of this name; the default sets `*err` to 0.
 */
TARNBASE_API void sample_tbl_shape_table_record_free_handler(kel_handle *handle, uint32_t tx_id,
                                                             void *item, uint32_t *err, void *arg1);

TARNBASE_END

#endif
