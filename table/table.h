/* SPDX-License-Identifier: Apache-2.0 */
// The workers behind a table's operations. Each takes the table's model first.
// Plain, `_unsafe` and `_cr` forms, and the many search and traversal forms, fix
// the mode arguments in their stamps; the comment before a worker lists them.
#ifndef TARNBASE_TABLE_TABLE_H
#define TARNBASE_TABLE_TABLE_H

#include <cstdint>

#include "frame/schema.h"

namespace tarnbase::table {

using Model = const Table &;

// open.cpp --------------------------------------------------------------------
//                                   open_only id     ior    dynamic mode
//   table_open(name)                given     0      0      0       0
//   table_open_by_id                given     given  0      0       1
//   table_open_auto_id              given     0      0      0       2
//   dynamic_table_open_auto_id      given     0      0      1       2
//   table_open_by_ior_with_name     given     0      given  0       0
//   table_open_by_ior_with_id       given     given  given  0       1
kel_table *open(Model model, kel_handle *handle, std::uint32_t tx_id, const char *name,
                std::uint32_t open_only, std::uint64_t id, std::uint64_t ior, std::uint32_t dynamic,
                std::uint32_t mode, std::uint32_t *err);
kel_table *open_cr(Model model, kel_handle *handle, std::uint32_t open_only, std::uint32_t mode,
                   const char *name, std::uint64_t id);
void close(kel_handle *handle, std::uint32_t tx_id, kel_table *table, std::uint32_t *err);
void close_cr(kel_handle *handle, kel_table *table);
void free(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
          std::uint32_t *err);
std::uint32_t get_count(kel_handle *handle, std::uint32_t tx_id, kel_table *table);
std::uint32_t get_count_by_src(kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                               std::uint8_t src);
std::uint32_t get_count_cr(kel_handle *handle, kel_table *table);

// record.cpp ------------------------------------------------------------------
//   create_record: src 1; create_record_w_src: src given
kel_record *create_record(Model model, kel_handle *handle, std::uint32_t tx_id, std::uint8_t src,
                          std::uint32_t *err);
kel_record *create_record_cr(Model model, kel_handle *handle, std::uint32_t with_objects);
std::uint32_t record_add_ref(kel_handle *handle, std::uint32_t tx_id, kel_record *record,
                             std::uint32_t *err);
void destroy_record(Model model, kel_handle *handle, std::uint32_t tx_id, kel_record *record,
                    std::uint32_t *err);
void destroy_record_cr(Model model, kel_handle *handle, kel_record *record);
void request_record_destroy(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                            kel_record *record, std::uint32_t *err);
void *pkey_create(Model model, kel_handle *handle, std::uint32_t tx_id);
void pkey_destroy(Model model, kel_handle *handle, std::uint32_t tx_id, void *key_object);

// field.cpp: the two object slots of a record ---------------------------------
enum class Slot : std::uint8_t { object, key_object };
void *get_field(const kel_record *record, Slot slot);
void *get_field_detach(kel_handle *handle, std::uint32_t tx_id, kel_record *record, Slot slot);
void set_field(Model model, kel_handle *handle, std::uint32_t tx_id, kel_record *record,
               void *object, Slot slot);
void free_and_set_field(Model model, kel_handle *handle, std::uint32_t tx_id, kel_record *record,
                        void *object, Slot slot);

// index.cpp -------------------------------------------------------------------
//   insert: pkey 0; pkey_insert: pkey 1
void insert(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
            kel_record *record, std::uint32_t pkey, std::uint32_t *err);
std::uint32_t insert_cr(Model model, kel_handle *handle, kel_table *table, kel_record *record);
// `delete` is a keyword of the language.
void remove(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
            kel_record *record, std::uint32_t *err);
std::uint32_t remove_cr(Model model, kel_handle *handle, kel_table *table, kel_record *record,
                        std::uint32_t destroy);

// search.cpp ------------------------------------------------------------------
// `key` is the address of a key value of the table's kind: a u_int32 word, a
// kel_vstring, an ip_address, an enumerator's word, or a key object.
//                                    nearest forward src   skip_pending
//   <key>_search, _search_unsafe     0       1       1     0
//   <key>_search_w_src               0       1       given 0
//   <key>_search_nearest             1       1       1     0
//   <key>_search_not_pending_destroy given   1       1     1
//   <key>_search_internal            all given
kel_record *search(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                   const void *key, std::uint32_t nearest, std::uint32_t forward, std::uint32_t src,
                   std::uint32_t skip_pending, std::uint32_t *err);
kel_record *search_sub_first(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                             const void *key, std::uint32_t *err);
kel_record *search_cr(Model model, kel_handle *handle, kel_table *table, const void *key,
                      std::uint32_t src, std::uint32_t nearest);
//   <table>_search, _search_unsafe: src 1; <table>_search_w_src, _unsafe: src given
kel_record *search_by_object(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                             const void *object, std::uint32_t nearest, std::uint32_t src,
                             std::uint32_t *err);

// traversal.cpp ---------------------------------------------------------------
//                                src   match_src skip_pending
//   get_first, get_last          1     1         0
//   ..._by_src                   given 1         0
//   ..._not_pending_destroy      given 1         1
kel_record *first(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                  std::uint32_t src, std::uint32_t match_src, std::uint32_t skip_pending,
                  std::uint32_t *err);
kel_record *last(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                 std::uint32_t src, std::uint32_t match_src, std::uint32_t skip_pending,
                 std::uint32_t *err);
//                                src   match_src skip_pending
//   get_next, get_prev           1     1         0
//   ..._by_src                   given 1         0
//   ..._not_pending_destroy      given 1         1
//   ..._internal                 all given
kel_record *next(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                 const kel_record *record, std::uint32_t src, std::uint32_t match_src,
                 std::uint32_t skip_pending, std::uint32_t *err);
kel_record *prev(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                 const kel_record *record, std::uint32_t src, std::uint32_t match_src,
                 std::uint32_t skip_pending, std::uint32_t *err);
kel_record *first_ignore_src(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                             std::uint32_t *err);
kel_record *next_ignore_src(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                            const kel_record *record, std::uint32_t *err);
kel_record *prev_ignore_src(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                            const kel_record *record, std::uint32_t *err);
kel_record *sub_next(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                     kel_record *record, std::uint32_t *err);
kel_record *sub_prev(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                     kel_record *record, std::uint32_t *err);
kel_record *shadow(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                   kel_record *record, std::uint32_t *err);
//                                          src   skip_pending
//   get_next_by_key, get_prev_by_key       1     0
//   ..._by_key_not_pending_destroy         1     1
//   get_next_by_key_w_src                  given 0
kel_record *next_by_key(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                        const void *key, std::uint32_t src, std::uint32_t skip_pending,
                        std::uint32_t *err);
kel_record *prev_by_key(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                        const void *key, std::uint32_t src, std::uint32_t skip_pending,
                        std::uint32_t *err);
//   <table>_get_next_by_key, _unsafe: src 1; <table>_get_next_by_key_w_src: given
kel_record *next_by_object(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                           const void *object, std::uint32_t src, std::uint32_t *err);
kel_record *prev_by_object(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                           const void *object, std::uint32_t *err);
kel_record *get_cr(Model model, kel_handle *handle, kel_table *table, std::uint32_t selector,
                   const kel_record *record, std::uint32_t src, std::uint32_t mode);
// `visit` is the table's <table>_<key>_avl_internal_walk.
void walk(kel_table *table, kel_walk_function function, void *context, e_avl_walk_function visit,
          std::uint32_t *err);
void walk_cr(kel_handle *handle, kel_table *table, std::uint32_t key_number,
             kel_walk_function function, void *context, e_avl_walk_function visit);
// visit.cpp: what a tree passes behind `pair` reaches the function unchanged. The
// exported <table>_<key>_avl_internal_walk takes as many words, and hands them on.
std::uint32_t visit(kel_index_node *node, void *pair, std::uintptr_t third, std::uintptr_t fourth,
                    std::uintptr_t fifth, std::uintptr_t sixth);
// A function that is called with fewer arguments than it takes, by intent.
#if defined(__clang__)
#define TARN_CALLED_WITH_FEWER __attribute__((no_sanitize("function")))
#else
#define TARN_CALLED_WITH_FEWER
#endif

// callback.cpp ----------------------------------------------------------------
// `handler` is the table's own handler, taken by symbol so that a strong
// definition in the program serves.
using RecordHandler = void (*)(kel_handle *handle, std::uint32_t tx_id, void *table, void *record,
                               std::uint32_t *err);
using DmHandler = void (*)(kel_handle *handle, std::uint32_t tx_id, void *record,
                           std::uint32_t *err);
using GroupingHandler = void (*)(kel_handle *handle, std::uint32_t tx_id, void *item,
                                 std::uint32_t *err, void *arg1, void *arg2);
using FreeHandler = void (*)(kel_handle *handle, std::uint32_t tx_id, void *item,
                             std::uint32_t *err, void *arg1);
//   create, modify and delete callback
void record_callback(kel_handle *handle, std::uint32_t tx_id, void *table, void *record,
                     std::uint32_t *err, RecordHandler handler);
//   create DM and delete DM callback
void dm_callback(kel_handle *handle, std::uint32_t tx_id, void *record, std::uint32_t *err,
                 DmHandler handler);
void grouping_callback(kel_handle *handle, std::uint32_t tx_id, void *item, std::uint32_t *err,
                       void *arg1, void *arg2, GroupingHandler handler);
void free_callback(kel_handle *handle, std::uint32_t tx_id, void *item, std::uint32_t *err,
                   void *arg1, FreeHandler handler);
// The weak defaults. `event`: "create", "modify", "delete", "grouping", "free".
void default_handler(Model model, const char *event, std::uint32_t *err);
// `event`: "create DM", "delete DM"; `handler` is the create or delete handler.
void default_dm_handler(Model model, const char *event, kel_handle *handle, std::uint32_t tx_id,
                        void *record, std::uint32_t *err, RecordHandler handler);

// codec.cpp: wire and key forms -----------------------------------------------
std::uint32_t record_marshal(Model model, kel_handle *handle, std::uint32_t tx_id, void *buffer,
                             const kel_record *record, std::uint32_t buffer_len,
                             std::uint32_t *err);
std::uint32_t record_marshal_cr(Model model, kel_handle *handle, const kel_record *record,
                                void *buffer, std::uint32_t buffer_len);
std::uint32_t record_unmarshal(Model model, kel_handle *handle, std::uint32_t tx_id,
                               kel_record **record, const void *buffer, std::uint32_t buffer_len,
                               std::uint32_t in_place, std::uint32_t *err);
std::uint32_t record_len(Model model, kel_handle *handle, std::uint32_t tx_id,
                         const kel_record *record);
std::uint32_t record_len_cr(Model model, kel_handle *handle, const kel_record *record);
std::uint32_t record_is_modified(Model model, kel_handle *handle, std::uint32_t tx_id,
                                 kel_record *record, std::uint32_t *err);
std::uint32_t pkey_len(Model model, kel_handle *handle, std::uint32_t tx_id,
                       const kel_record *record);
std::uint32_t pkey_marshal(Model model, kel_handle *handle, std::uint32_t tx_id, void *buffer,
                           const kel_record *record, std::uint32_t buffer_len, std::uint32_t *err);
std::uint32_t pkey_unmarshal(Model model, kel_handle *handle, std::uint32_t tx_id, void **pkey,
                             const void *buffer, std::uint32_t buffer_len, std::uint32_t *err);

// text.cpp: text and XML forms ------------------------------------------------
std::uint32_t pkey_print(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                         const kel_record *record, char *buffer, std::uint32_t buffer_len,
                         std::uint32_t *err);
std::uint32_t record_print(Model model, kel_handle *handle, std::uint32_t tx_id, char *buffer,
                           const kel_record *record, std::uint32_t buffer_len, std::uint32_t *err);
std::uint32_t record_print_cr(Model model, kel_handle *handle, const kel_record *record,
                              char *buffer, std::uint32_t buffer_len);
std::uint32_t record_to_xml(Model model, kel_handle *handle, std::uint32_t tx_id, char *buffer,
                            const kel_record *record, std::uint32_t buffer_len, std::uint32_t *err);
std::uint32_t record_toxml_cr(Model model, kel_handle *handle, const kel_record *record,
                              char *buffer, std::uint32_t buffer_len);
kel_record *record_from_xml(Model model, kel_handle *handle, std::uint32_t tx_id, void *document,
                            std::uint32_t *err, char *message, std::uint32_t message_len);

}  // namespace tarnbase::table

#endif
