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
 * Opens tbl_shape under a name, or creates it if it is absent and `open_only` is 0.
 * Arguments: `name` is the caller's and only read. A name without a '/' forms the store's key
 * together with the table's LUID. A name with a '/' is a path: its first 255 bytes are the key,
 * which tables of all kinds share. If a table of another kind has the path, that table's block is
 * returned without an error: compare the LUID of its `descriptor` with that of
 * _tbl_shape_table_type_info_internal.
 * Returns: the table block, which belongs to the store, or null.
 * Errors: E2BIG the key is too long, except a path, which is truncated; ENOMEM no memory for the
 * block. If there is memory for the block but none for its entry in the keyed store, the new table
 * is returned without an error, but no later open finds it: the next one creates another, empty
 * table. If the table is absent and `open_only` is set, the result is null without an error.
 */
TARNBASE_API kel_table *tbl_shape_table_open(kel_handle *handle, uint32_t tx_id, const char *name,
                                             uint32_t open_only, uint32_t *err);
TARNBASE_API kel_table *tbl_shape_table_open_unsafe(kel_handle *handle, uint32_t tx_id,
                                                    const char *name, uint32_t open_only,
                                                    uint32_t *err);

/*
 * Opens the tbl_shape with table id `id`, or creates it if it is absent and `open_only` is 0.
 * Requires: in one process, all handles that open, create or free a tbl_shape by id are on the same
 * store, even after that store was closed. The root of a store's tables by id is found once in a
 * process and cached for good, so that a second store would get the tables of the first one. Open
 * the tables of any other store by name.
 * Returns: the table block, which belongs to the store, or null.
 * Errors: ENOMEM no memory for the block or for the root. If there is none for the root's entry in
 * the keyed store, the table is returned without an error, but no other process finds it.
 */
TARNBASE_API kel_table *tbl_shape_table_open_by_id(kel_handle *handle, uint32_t tx_id, uint64_t id,
                                                   uint32_t open_only, uint32_t *err);
TARNBASE_API kel_table *tbl_shape_table_open_by_id_unsafe(kel_handle *handle, uint32_t tx_id,
                                                          uint64_t id, uint32_t open_only,
                                                          uint32_t *err);

/*
 * Creates a tbl_shape with the next free table id, which is then in its `table_id`.
 * Requires: one store in the process, as tbl_shape_table_open_by_id does.
 * Returns: the table block, which belongs to the store, or null; always null if `open_only` is set.
 * Errors: ENOMEM.
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
 * As tbl_shape_table_open. If it creates the block, it maps it with the reference `ior`, whose
 * meaning is the runtime's.
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
 * As tbl_shape_table_open_by_id. If it creates the block, it maps it with the reference `ior`,
 * whose meaning is the runtime's.
 */
TARNBASE_API kel_table *tbl_shape_table_open_by_ior_with_id(kel_handle *handle, uint32_t tx_id,
                                                            uint64_t id, uint64_t ior,
                                                            uint32_t open_only, uint32_t *err);
TARNBASE_API kel_table *tbl_shape_table_open_by_ior_with_id_unsafe(kel_handle *handle,
                                                                   uint32_t tx_id, uint64_t id,
                                                                   uint64_t ior, uint32_t open_only,
                                                                   uint32_t *err);

/*
 * Opens the table in the given `mode`, one of KEL_OPEN_..., by `name` or `id`.
 * Returns: the table block or null. The error is in the handle's last_error.
 */
TARNBASE_API kel_table *tbl_shape_table_open_cr(kel_handle *handle, uint32_t open_only,
                                                uint32_t mode, const char *name, uint64_t id);

/* Ends the caller's use of the table. The block isn't changed, and a table need not be closed. */
TARNBASE_API void tbl_shape_table_close(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                        uint32_t *err);
TARNBASE_API void tbl_shape_table_close_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                               uint32_t *err);

/* As tbl_shape_table_close, in the handle's own transaction. */
TARNBASE_API void tbl_shape_table_close_cr(kel_handle *handle, kel_table *table);

/*
 * Removes the table from the store and frees its block. Records still in the table aren't freed:
 * empty it first.
 * Requires: for a table that was opened by id, one store in the process, as
 * tbl_shape_table_open_by_id does.
 * Errors: ENOENT the table's root is missing; E2BIG the key is too long; EAGAIN the table is still
 * referenced, and remains usable.
 */
TARNBASE_API void tbl_shape_table_free(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                       uint32_t *err);
TARNBASE_API void tbl_shape_table_free_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                              uint32_t *err);

/*
 * Returns: the number of the current tenant's records in the table, of all sources; for tenant 0,
 * of all tenants. 0 for a null table.
 */
TARNBASE_API uint32_t tbl_shape_table_get_count(kel_handle *handle, uint32_t tx_id,
                                                kel_table *table);
TARNBASE_API uint32_t tbl_shape_table_get_count_unsafe(kel_handle *handle, uint32_t tx_id,
                                                       kel_table *table);

/* As tbl_shape_table_get_count, for the source in the low byte of `src`. */
TARNBASE_API uint32_t tbl_shape_table_get_count_by_src(kel_handle *handle, uint32_t tx_id,
                                                       kel_table *table, uint32_t src);
TARNBASE_API uint32_t tbl_shape_table_get_count_by_src_unsafe(kel_handle *handle, uint32_t tx_id,
                                                              kel_table *table, uint32_t src);

/* As tbl_shape_table_get_count, in the handle's own transaction. */
TARNBASE_API uint32_t tbl_shape_table_get_count_cr(kel_handle *handle, kel_table *table);

/*
 * Creates a record of source 1 and of the current tenant, with a reference count of 1 and without
 * an object.
 * Returns: the record, which is the caller's until it is inserted or destroyed; null if there is no
 * memory.
 * Errors: none is reported. If the record is created, `*err` is 0 afterwards, whatever it was
 * before: create the record before you set its fields. Without memory `*err` is unchanged: test the
 * pointer.
 */
TARNBASE_API kel_record *tbl_shape_create_record(kel_handle *handle, uint32_t tx_id, uint32_t *err);
TARNBASE_API kel_record *tbl_shape_create_record_unsafe(kel_handle *handle, uint32_t tx_id,
                                                        uint32_t *err);

/* As tbl_shape_create_record, with the low byte of `src` as the record's source. */
TARNBASE_API kel_record *tbl_shape_create_record_w_src(kel_handle *handle, uint32_t tx_id,
                                                       uint32_t src, uint32_t *err);

/*
 * Creates a record in the handle's own transaction. If `with_objects` is nonzero, also creates its
 * st_shape and attaches what it created. These objects are the record's, but they aren't marked as
 * embedded, so that a second record would accept them too: don't attach them to another.
 * Returns: the record, never null. Without memory it is the table's fallback record, which is in no
 * store and which all handles of the process share. Don't fill it and don't insert it. If
 * `with_objects` is nonzero, destroy it with tbl_shape_record_destroy_cr, because those objects for
 * which there was memory are attached to it.
 * Errors: last_error is about the objects only. It is ENOMEM if one of them is its type's fallback
 * object, and nonzero if one is null, because its fields could not be initialised (in a tracking
 * handle also because there was no memory for a place). A missing record leaves it 0, so that it is
 * always 0 if `with_objects` is 0: compare the record's address to detect the fallback record, as
 * kel_record_is_fallback of the embedded runtime does.
 */
TARNBASE_API kel_record *tbl_shape_record_create_cr(kel_handle *handle, uint32_t with_objects);

/*
 * Adds a reference to a record; tbl_shape_destroy_record releases it. The change isn't logged.
 * Returns: the number of references before.
 * Errors: ENOENT `record` is null.
 */
TARNBASE_API uint32_t tbl_shape_record_add_ref(kel_handle *handle, uint32_t tx_id,
                                               kel_record *record, uint32_t *err);
TARNBASE_API uint32_t tbl_shape_record_add_ref_unsafe(kel_handle *handle, uint32_t tx_id,
                                                      kel_record *record, uint32_t *err);

/*
 * Releases a reference. With the last one the record is removed from the index, if its `table` is
 * set, and destroyed together with the objects that it owns.
 * Requires: while its `table` is set, the record can be deleted: `*err` is 0, the table isn't
 * marked for replication unless the handle's `replication_engine_active` is set, and the key is the
 * one with which the record was inserted. Otherwise the block is freed and stays in the index.
 * kel_record_release of the embedded runtime has no such condition.
 * Errors: ENOENT `record` is null. Runs even if `*err` is nonzero; after the last reference `*err`
 * is 0.
 */
TARNBASE_API void tbl_shape_destroy_record(kel_handle *handle, uint32_t tx_id, kel_record *record,
                                           uint32_t *err);
TARNBASE_API void tbl_shape_destroy_record_unsafe(kel_handle *handle, uint32_t tx_id,
                                                  kel_record *record, uint32_t *err);

/* As tbl_shape_destroy_record, in the handle's own transaction. */
TARNBASE_API void tbl_shape_record_destroy_cr(kel_handle *handle, kel_record *record);

/*
 * Marks a record of a replicated table for destruction after its deletion has been replicated.
 * Errors: EINVAL `record` is null or the table isn't marked for replication.
 */
TARNBASE_API void tbl_shape_request_record_destroy(kel_handle *handle, uint32_t tx_id,
                                                   kel_table *table, kel_record *record,
                                                   uint32_t *err);
TARNBASE_API void tbl_shape_request_record_destroy_unsafe(kel_handle *handle, uint32_t tx_id,
                                                          kel_table *table, kel_record *record,
                                                          uint32_t *err);

/*
 * Creates an object that holds a key outside a record; only its `number` is used.
 * Returns: the st_shape, which is the caller's; null if there is no memory.
 */
TARNBASE_API st_shape *tbl_shape_pkey_create(kel_handle *handle, uint32_t tx_id);
TARNBASE_API st_shape *tbl_shape_pkey_create_unsafe(kel_handle *handle, uint32_t tx_id);

/* Destroys an object created by tbl_shape_pkey_create or tbl_shape_table_pkey_unmarshal. */
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
 * Detaches the record's st_shape, which is then the caller's. It stays marked as embedded, so that
 * no record accepts it again.
 * Requires: `record` isn't null.
 * Returns: the object, or null if none was attached.
 */
TARNBASE_API st_shape *tbl_shape_st_shape_get_field_detach(kel_handle *handle, uint32_t tx_id,
                                                           kel_record *record);

/*
 * Attaches `object` to the record, which then owns it. The object attached before isn't destroyed;
 * the caller still has to. A null object is stored as null; an object that is embedded in a record
 * or nested in another object is refused.
 * Requires: `record` isn't null.
 */
TARNBASE_API void tbl_shape_st_shape_set_field(kel_handle *handle, uint32_t tx_id,
                                               kel_record *record, st_shape *object);

/* As tbl_shape_st_shape_set_field, and destroys the object attached before. */
TARNBASE_API void tbl_shape_st_shape_free_and_set_field(kel_handle *handle, uint32_t tx_id,
                                                        kel_record *record, st_shape *object);

/*
 * Orders two records by tenant, key and source, for the index tree.
 * Returns: 0 if `a` comes first, 1 if they are equal, 2 if `b` comes first. Null comes first.
 */
TARNBASE_API uint32_t tbl_shape_st_shape_number_avl_compare(const kel_index_node *a,
                                                            const kel_index_node *b);

/*
 * Inserts a record in the index, ordered by its tenant, `number` and source, and counts it.
 * Requires: `table` and `record` aren't null, and the object is attached.
 * Errors: EEXIST the key exists for this tenant and source; the record isn't inserted and remains
 * the caller's. After any other error the record is in the index and its `table` is set: ENOMEM no
 * memory for the tenant's counters; and those of the replication of a marked and armed table. Roll
 * back, or set `*err` to 0 before you destroy the record: see tbl_shape_destroy_record.
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
 * Removes a record from the index. The record still exists, and a traversal can continue from it.
 * Requires: `table` and `record` aren't null.
 * Errors: ENOENT the record isn't in the index, and its `table` is null now; EINVAL the table is
 * marked for replication, so that only the replication engine may delete.
 */
TARNBASE_API void tbl_shape_delete(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                   kel_record *record, uint32_t *err);
TARNBASE_API void tbl_shape_delete_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                          kel_record *record, uint32_t *err);

/*
 * As tbl_shape_delete, in the handle's own transaction. If `destroy` is nonzero, then destroys the
 * record as tbl_shape_destroy_record does, even if the deletion failed.
 * Requires: if `destroy` is nonzero, what tbl_shape_destroy_record requires.
 * Returns: the handle's last_error. If the last reference was released, that is 0 even if the
 * deletion failed.
 */
TARNBASE_API uint32_t tbl_shape_delete_cr(kel_handle *handle, kel_table *table, kel_record *record,
                                          uint32_t destroy);

/*
 * Finds the record with the key, of source 1 and of the current tenant.
 * Arguments: `key` is a number, the caller's.
 * Returns: the record, which is the table's, or null.
 * Errors: ENOENT `table` or `key` is null. An absent key is no error.
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
 * As tbl_shape_st_shape_number_search; if the key is absent, finds the next record of source 1
 * after it.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_search_nearest(kel_handle *handle,
                                                                  uint32_t tx_id, kel_table *table,
                                                                  const uint32_t *key,
                                                                  uint32_t *err);

/*
 * As tbl_shape_st_shape_number_search, skipping records that are pending destruction. If the key is
 * absent and `nearest` is nonzero, finds the next record of source 1 after it.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_search_not_pending_destroy(
    kel_handle *handle, uint32_t tx_id, kel_table *table, const uint32_t *key, uint32_t nearest,
    uint32_t *err);

/*
 * Finds the record with the key, of source 1 and of the current tenant, from which
 * tbl_shape_st_shape_number_get_sub_next continues. If the key has only records of other sources,
 * finds none: tbl_shape_st_shape_number_search_w_src finds these.
 * Returns: the record, which is the table's, or null.
 * Errors: ENOENT `table` or `key` is null.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_search_sub_first(kel_handle *handle,
                                                                    uint32_t tx_id,
                                                                    kel_table *table,
                                                                    const uint32_t *key,
                                                                    uint32_t *err);

/*
 * Finds a record in the handle's own transaction, of the source in the low byte of `src`, or of
 * source 1 if that is 0. If it is absent and `nearest` is nonzero, finds the next record of source
 * 1 after the key, whatever `src` is.
 * Returns: the record or null. The error is in the handle's last_error.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_search_cr(kel_handle *handle, kel_table *table,
                                                             const uint32_t *key, uint32_t src,
                                                             uint32_t nearest);

/*
 * The search that the others call. If the key is absent and `nearest` is nonzero, finds the next
 * record after it, or before it if `forward` is 0. That record is of source 1, whatever `src` is,
 * unless `skip_pending` is set: then it is of source `src`, and records that are pending
 * destruction are skipped.
 * Returns: the record, which is the table's, or null.
 * Errors: ENOENT `table` or `key` is null.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_search_internal(kel_handle *handle,
                                                                   uint32_t tx_id, kel_table *table,
                                                                   const uint32_t *key,
                                                                   uint32_t nearest,
                                                                   uint32_t forward, uint32_t src,
                                                                   uint32_t skip_pending,
                                                                   uint32_t *err);

/*
 * As tbl_shape_st_shape_number_search, by the `number` of an object. If the key is absent and
 * `nearest` is nonzero, finds the next record of source 1 after it.
 * Errors: ENOENT `table` or `object` is null.
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
 * Returns: the record, which is the table's; null without an error if there is none.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_first(kel_handle *handle, uint32_t tx_id,
                                                             kel_table *table, uint32_t *err);

/* As tbl_shape_st_shape_number_get_first, for the source in the low byte of `src`. */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_first_by_src(kel_handle *handle,
                                                                    uint32_t tx_id,
                                                                    kel_table *table, uint32_t src,
                                                                    uint32_t *err);

/* As tbl_shape_st_shape_number_get_first_by_src, skipping records that are pending destruction. */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_first_not_pending_destroy(
    kel_handle *handle, uint32_t tx_id, kel_table *table, uint32_t src, uint32_t *err);

/* Finds the first record of the current tenant, of any source. */
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

/* As tbl_shape_st_shape_number_get_last_by_src, skipping records that are pending destruction. */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_last_not_pending_destroy(
    kel_handle *handle, uint32_t tx_id, kel_table *table, uint32_t src, uint32_t *err);

/*
 * Finds the next record of source 1 after `record`, which need not be in the table any more.
 * Returns: the record, which is the table's; null without an error at the end.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_next(kel_handle *handle, uint32_t tx_id,
                                                            kel_table *table,
                                                            const kel_record *record,
                                                            uint32_t *err);

/* As tbl_shape_st_shape_number_get_next, backward. */
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

/* As tbl_shape_st_shape_number_get_next_by_src, skipping records that are pending destruction. */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_next_not_pending_destroy(
    kel_handle *handle, uint32_t tx_id, kel_table *table, const kel_record *record, uint32_t src,
    uint32_t *err);

/* As tbl_shape_st_shape_number_get_prev_by_src, skipping records that are pending destruction. */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_prev_not_pending_destroy(
    kel_handle *handle, uint32_t tx_id, kel_table *table, const kel_record *record, uint32_t src,
    uint32_t *err);

/* One step forward within the current tenant, to a record of any source. */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_next_ignore_src(kel_handle *handle,
                                                                       uint32_t tx_id,
                                                                       kel_table *table,
                                                                       const kel_record *record,
                                                                       uint32_t *err);

/* One step backward within the current tenant, to a record of any source. */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_prev_ignore_src(kel_handle *handle,
                                                                       uint32_t tx_id,
                                                                       kel_table *table,
                                                                       const kel_record *record,
                                                                       uint32_t *err);

/*
 * Finds the next record with the same key, of another source or of another tenant: after a tenant's
 * last record the step continues to the first record of the next tenant, if that has the same key.
 * Returns: the record, which is the table's, or null.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_sub_next(kel_handle *handle, uint32_t tx_id,
                                                                kel_table *table,
                                                                kel_record *record, uint32_t *err);

/* As tbl_shape_st_shape_number_get_sub_next, backward. */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_sub_prev(kel_handle *handle, uint32_t tx_id,
                                                                kel_table *table,
                                                                kel_record *record, uint32_t *err);

/*
 * Finds the shadow of the record's key, of source 255: `record` itself, or the first shadow that
 * steps of tbl_shape_st_shape_number_get_sub_next reach, which can be another tenant's.
 * Returns: the record, which is the table's; null if there is none or `record` is null.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_shadow(kel_handle *handle, uint32_t tx_id,
                                                              kel_table *table, kel_record *record,
                                                              uint32_t *err);

/*
 * Finds the first record of source 1 and of the current tenant, in key order.
 * Returns: the record, which is the table's; null without an error if there is none.
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

/* Finds the first record of the current tenant, of any source. */
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
 * Returns: the record, which is the table's; null without an error at the end.
 */
TARNBASE_API kel_record *tbl_shape_pkey_get_next(kel_handle *handle, uint32_t tx_id,
                                                 kel_table *table, const kel_record *record,
                                                 uint32_t *err);
TARNBASE_API kel_record *tbl_shape_pkey_get_next_unsafe(kel_handle *handle, uint32_t tx_id,
                                                        kel_table *table, const kel_record *record,
                                                        uint32_t *err);

/* As tbl_shape_pkey_get_next, backward. */
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

/* One step forward within the current tenant, to a record of any source. */
TARNBASE_API kel_record *tbl_shape_pkey_get_next_ignore_src(kel_handle *handle, uint32_t tx_id,
                                                            kel_table *table,
                                                            const kel_record *record,
                                                            uint32_t *err);
TARNBASE_API kel_record *tbl_shape_pkey_get_next_ignore_src_unsafe(kel_handle *handle,
                                                                   uint32_t tx_id, kel_table *table,
                                                                   const kel_record *record,
                                                                   uint32_t *err);

/* One step backward within the current tenant, to a record of any source. */
TARNBASE_API kel_record *tbl_shape_pkey_get_prev_ignore_src(kel_handle *handle, uint32_t tx_id,
                                                            kel_table *table,
                                                            const kel_record *record,
                                                            uint32_t *err);
TARNBASE_API kel_record *tbl_shape_pkey_get_prev_ignore_src_unsafe(kel_handle *handle,
                                                                   uint32_t tx_id, kel_table *table,
                                                                   const kel_record *record,
                                                                   uint32_t *err);

/*
 * Finds the next record with the same key, of another source or of another tenant: after a tenant's
 * last record the step continues to the first record of the next tenant, if that has the same key.
 * Returns: the record, which is the table's, or null.
 */
TARNBASE_API kel_record *tbl_shape_pkey_get_sub_next(kel_handle *handle, uint32_t tx_id,
                                                     kel_table *table, kel_record *record,
                                                     uint32_t *err);
TARNBASE_API kel_record *tbl_shape_pkey_get_sub_next_unsafe(kel_handle *handle, uint32_t tx_id,
                                                            kel_table *table, kel_record *record,
                                                            uint32_t *err);

/* As tbl_shape_pkey_get_sub_next, backward. */
TARNBASE_API kel_record *tbl_shape_pkey_get_sub_prev(kel_handle *handle, uint32_t tx_id,
                                                     kel_table *table, kel_record *record,
                                                     uint32_t *err);
TARNBASE_API kel_record *tbl_shape_pkey_get_sub_prev_unsafe(kel_handle *handle, uint32_t tx_id,
                                                            kel_table *table, kel_record *record,
                                                            uint32_t *err);

/*
 * Finds the shadow of the record's key, of source 255: `record` itself, or the first shadow that
 * steps of tbl_shape_pkey_get_sub_next reach, which can be another tenant's.
 * Returns: the record, which is the table's; null if there is none or `record` is null.
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
 * Returns: the record, which is the table's; null without an error at the end.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_next_by_key(kel_handle *handle,
                                                                   uint32_t tx_id, kel_table *table,
                                                                   const uint32_t *key,
                                                                   uint32_t *err);

/* As tbl_shape_st_shape_number_get_next_by_key, backward. */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_prev_by_key(kel_handle *handle,
                                                                   uint32_t tx_id, kel_table *table,
                                                                   const uint32_t *key,
                                                                   uint32_t *err);

/* As tbl_shape_st_shape_number_get_next_by_key, skipping records that are pending destruction. */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_next_by_key_not_pending_destroy(
    kel_handle *handle, uint32_t tx_id, kel_table *table, const uint32_t *key, uint32_t *err);

/* As tbl_shape_st_shape_number_get_prev_by_key, skipping records that are pending destruction. */
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

/* As tbl_shape_get_next_by_key, backward. */
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
 * Arguments: `selector` is 0 for the first record, 1 for the last one, 2 for the one before
 * `record`, 3 for the one after it. The low byte of `src` is the source, or source 1 if that is 0.
 * If `mode` is nonzero, records of every source are found.
 * Returns: the record or null. The error is in the handle's last_error: EINVAL another selector.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_cr(kel_handle *handle, kel_table *table,
                                                          uint32_t selector,
                                                          const kel_record *record, uint32_t src,
                                                          uint32_t mode);

/*
 * The step forward that the others are made of. If `match_src` is nonzero, only records of the
 * source in the low byte of `src` are found; if `skip_pending` is nonzero, records that are pending
 * destruction are skipped.
 */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_next_internal(kel_handle *handle,
                                                                     uint32_t tx_id,
                                                                     kel_table *table,
                                                                     const kel_record *record,
                                                                     uint32_t src,
                                                                     uint32_t match_src,
                                                                     uint32_t skip_pending,
                                                                     uint32_t *err);

/* As tbl_shape_st_shape_number_get_next_internal, backward. */
TARNBASE_API kel_record *tbl_shape_st_shape_number_get_prev_internal(kel_handle *handle,
                                                                     uint32_t tx_id,
                                                                     kel_table *table,
                                                                     const kel_record *record,
                                                                     uint32_t src,
                                                                     uint32_t match_src,
                                                                     uint32_t skip_pending,
                                                                     uint32_t *err);

/*
 * Calls `function` with each record, of all tenants and sources, in index order, and with
 * `context`, until it returns nonzero. It may delete and destroy the record passed to it.
 */
TARNBASE_API void tbl_shape_st_shape_number_walk(kel_table *table, kel_walk_function function,
                                                 void *context, uint32_t *err);

/*
 * As tbl_shape_st_shape_number_walk, unless the handle's last_error is set. `key_number` is 0, the
 * only key.
 */
TARNBASE_API void tbl_shape_record_walk_cr(kel_handle *handle, kel_table *table,
                                           uint32_t key_number, kel_walk_function function,
                                           void *context);

/*
 * The index tree's callback in a walk: calls the function of `pair`, a kel_walk_pair, with the
 * record of `node`, as its last step.
 * Returns: what the function returns.
 */
TARNBASE_API uint32_t tbl_shape_st_shape_number_avl_internal_walk(kel_index_node *node, void *pair);

/* Does nothing; kept for programs that link it. */
TARNBASE_API void tbl_shape_st_shape_number_unordered_traversal(void);

/* Calls sample_tbl_shape_table_record_create_handler unless `*err` is set. */
TARNBASE_API void tbl_shape_table_record_create_cb(kel_handle *handle, uint32_t tx_id, void *table,
                                                   void *record, uint32_t *err);
TARNBASE_API void tbl_shape_table_record_create_cb_unsafe(kel_handle *handle, uint32_t tx_id,
                                                          void *table, void *record, uint32_t *err);

/* Calls sample_tbl_shape_table_record_modify_handler unless `*err` is set. */
TARNBASE_API void tbl_shape_table_record_modify_cb(kel_handle *handle, uint32_t tx_id, void *table,
                                                   void *record, uint32_t *err);
TARNBASE_API void tbl_shape_table_record_modify_cb_unsafe(kel_handle *handle, uint32_t tx_id,
                                                          void *table, void *record, uint32_t *err);

/* Calls sample_tbl_shape_table_record_delete_handler unless `*err` is set. */
TARNBASE_API void tbl_shape_table_record_delete_cb(kel_handle *handle, uint32_t tx_id, void *table,
                                                   void *record, uint32_t *err);
TARNBASE_API void tbl_shape_table_record_delete_cb_unsafe(kel_handle *handle, uint32_t tx_id,
                                                          void *table, void *record, uint32_t *err);

/* Calls sample_tbl_shape_table_record_create_dm_handler unless `*err` is set. */
TARNBASE_API void tbl_shape_table_record_create_dm_cb(kel_handle *handle, uint32_t tx_id,
                                                      void *record, uint32_t *err);
TARNBASE_API void tbl_shape_table_record_create_dm_cb_unsafe(kel_handle *handle, uint32_t tx_id,
                                                             void *record, uint32_t *err);

/* Calls sample_tbl_shape_table_record_delete_dm_handler unless `*err` is set. */
TARNBASE_API void tbl_shape_table_record_delete_dm_cb(kel_handle *handle, uint32_t tx_id,
                                                      void *record, uint32_t *err);
TARNBASE_API void tbl_shape_table_record_delete_dm_cb_unsafe(kel_handle *handle, uint32_t tx_id,
                                                             void *record, uint32_t *err);

/* Calls sample_tbl_shape_table_record_grouping_handler unless `*err` is set. */
TARNBASE_API void tbl_shape_table_record_grouping_cb(kel_handle *handle, uint32_t tx_id, void *item,
                                                     uint32_t *err, void *arg1, void *arg2);
TARNBASE_API void tbl_shape_table_record_grouping_cb_unsafe(kel_handle *handle, uint32_t tx_id,
                                                            void *item, uint32_t *err, void *arg1,
                                                            void *arg2);

/* Calls sample_tbl_shape_table_record_free_handler unless `*err` is set. */
TARNBASE_API void tbl_shape_table_record_free_cb(kel_handle *handle, uint32_t tx_id, void *item,
                                                 uint32_t *err, void *arg1);
TARNBASE_API void tbl_shape_table_record_free_cb_unsafe(kel_handle *handle, uint32_t tx_id,
                                                        void *item, uint32_t *err, void *arg1);

/*
 * Prints the record's key at `buffer`, as its field `number`.
 * Returns: the characters written.
 * Errors: EINVAL the handle, `table` or `record` is null; EMSGSIZE the buffer is too small.
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
 * Errors: EMSGSIZE the buffer is too small; nothing is written.
 */
TARNBASE_API uint32_t tbl_shape_table_pkey_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                                                   const kel_record *record, uint32_t buffer_len,
                                                   uint32_t *err);
TARNBASE_API uint32_t tbl_shape_table_pkey_marshal_unsafe(kel_handle *handle, uint32_t tx_id,
                                                          void *buffer, const kel_record *record,
                                                          uint32_t buffer_len, uint32_t *err);

/*
 * Creates a key object from its wire form and stores it through `pkey`; the caller destroys it with
 * tbl_shape_pkey_destroy.
 * Returns: the bytes read; meaningless after an error.
 * Errors: ENOMEM; EFAULT `pkey` is null; EMSGSIZE too few bytes. If the reading itself fails, there
 * is a key object in `*pkey`, which the caller destroys: set `*pkey` to null before.
 */
TARNBASE_API uint32_t tbl_shape_table_pkey_unmarshal(kel_handle *handle, uint32_t tx_id,
                                                     void **pkey, const void *buffer,
                                                     uint32_t buffer_len, uint32_t *err);
TARNBASE_API uint32_t tbl_shape_table_pkey_unmarshal_unsafe(kel_handle *handle, uint32_t tx_id,
                                                            void **pkey, const void *buffer,
                                                            uint32_t buffer_len, uint32_t *err);

/*
 * Prints the record as text. A record without an object is printed as one with empty fields.
 * Requires: `record` isn't null; `buffer` is filled with blanks, since the indentation of closing
 * braces is skipped, not written.
 * Returns: the characters written, also after an error. If `*err` is nonzero on entry, these are
 * the first and the last line.
 * Errors: EMSGSIZE the buffer is too small: an object needs at least the space of its wire form.
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
 * Returns: the characters written, also after an error; 0 if `*err` is nonzero on entry.
 * Errors: EINVAL a string that XML can't contain, or a tracking handle and an object without a
 * state block; EMSGSIZE the buffer is too small.
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
 * Creates a record from a parsed document of the XML service. A field without an element keeps its
 * initial value, so that a document without the object gives a record with an empty one.
 * Arguments: if the XML service fails at an enumeration, the failure is described in `message`, of
 * `message_len` bytes, unless that is null.
 * Returns: the record, which is the caller's, or null.
 * Errors: ENOMEM; EINVAL an element's text isn't of its field's type. After an error the incomplete
 * record is not released: roll the transaction back.
 */
TARNBASE_API kel_record *tbl_shape_table_record_from_xml(kel_handle *handle, uint32_t tx_id,
                                                         void *document, uint32_t *err,
                                                         char *message, uint32_t message_len);
TARNBASE_API kel_record *tbl_shape_table_record_from_xml_unsafe(kel_handle *handle, uint32_t tx_id,
                                                                void *document, uint32_t *err,
                                                                char *message,
                                                                uint32_t message_len);

/*
 * Tests whether the record's object is marked as modified, and clears the marks that it finds.
 * Requires: `record` isn't null.
 * Returns: 1 if there was a mark, else 0, also for a record without an object.
 * Errors: none of its own.
 */
TARNBASE_API uint32_t tbl_shape_table_record_is_modified(kel_handle *handle, uint32_t tx_id,
                                                         kel_record *record, uint32_t *err);
TARNBASE_API uint32_t tbl_shape_table_record_is_modified_unsafe(kel_handle *handle, uint32_t tx_id,
                                                                kel_record *record, uint32_t *err);

/*
 * Writes the wire form of the record: the message header, the table's LUID, and the object.
 * Requires: `record` isn't null. In a tracking handle `buffer` has one byte more than `buffer_len`:
 * in a form that fills the buffer, the last state byte is stored there.
 * Returns: the bytes written, which are a frame only if `*err` is 0.
 * Errors: ENOENT the record has no object, whatever the size of the buffer; ENOMEM no byte is left
 * for an object; EIDRM an object's variant is above the domain's, whose form is written then;
 * EMSGSIZE the buffer is too small.
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
 * Reads the wire form of a record. If `in_place` is nonzero, it is read into the record `*record`;
 * else into a new record, the caller's, which is stored there. The LUID in the frame isn't
 * compared: the frame of any table is read.
 * Requires: in a tracking handle, the object that is read into tracks state; else the process ends.
 * Returns: the bytes read; meaningless after an error.
 * Errors: ENOENT there is no record or object to read into; ENOMEM no memory, or no byte is left
 * for an object; EMSGSIZE too few bytes. After an error `*record` may be a new, incomplete record,
 * which the caller destroys with `*err` 0: set `*record` to null before.
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
 * Called when the runtime delivers a create event of the table. A program replaces it by defining a
 * function of this name; the default sets `*err` to 0.
 */
TARNBASE_API void sample_tbl_shape_table_record_create_handler(kel_handle *handle, uint32_t tx_id,
                                                               void *table, void *record,
                                                               uint32_t *err);

/*
 * Called when the runtime delivers a modify event of the table. A program replaces it by defining a
 * function of this name; the default sets `*err` to 0.
 */
TARNBASE_API void sample_tbl_shape_table_record_modify_handler(kel_handle *handle, uint32_t tx_id,
                                                               void *table, void *record,
                                                               uint32_t *err);

/*
 * Called when the runtime delivers a delete event of the table. A program replaces it by defining a
 * function of this name; the default sets `*err` to 0.
 */
TARNBASE_API void sample_tbl_shape_table_record_delete_handler(kel_handle *handle, uint32_t tx_id,
                                                               void *table, void *record,
                                                               uint32_t *err);

/*
 * Called when the runtime delivers a create DM event of the table. A program replaces it by
 * defining a function of this name; the default calls sample_tbl_shape_table_record_create_handler
 * with a null table.
 */
TARNBASE_API void sample_tbl_shape_table_record_create_dm_handler(kel_handle *handle,
                                                                  uint32_t tx_id, void *record,
                                                                  uint32_t *err);

/*
 * Called when the runtime delivers a delete DM event of the table. A program replaces it by
 * defining a function of this name; the default calls sample_tbl_shape_table_record_delete_handler
 * with a null table.
 */
TARNBASE_API void sample_tbl_shape_table_record_delete_dm_handler(kel_handle *handle,
                                                                  uint32_t tx_id, void *record,
                                                                  uint32_t *err);

/*
 * Called when the runtime delivers a grouping event of the table. A program replaces it by defining
 * a function of this name; the default sets `*err` to 0.
 */
TARNBASE_API void sample_tbl_shape_table_record_grouping_handler(kel_handle *handle, uint32_t tx_id,
                                                                 void *item, uint32_t *err,
                                                                 void *arg1, void *arg2);

/*
 * Called when the runtime delivers a free event of the table. A program replaces it by defining a
 * function of this name; the default sets `*err` to 0.
 */
TARNBASE_API void sample_tbl_shape_table_record_free_handler(kel_handle *handle, uint32_t tx_id,
                                                             void *item, uint32_t *err, void *arg1);

TARNBASE_END

#endif
