/* SPDX-License-Identifier: Apache-2.0 */
// The workers of a table's operations. The model comes first, then the call, then the
// operation's own arguments. Where several exported operations share a worker, a small
// structure says what distinguishes them.
#ifndef TARNBASE_TABLE_TABLE_H
#define TARNBASE_TABLE_TABLE_H

#include <cstdint>

#include "frame/call.h"
#include "frame/cursor.h"
#include "frame/schema.h"
#include "object/arguments.h"

namespace tarnbase::table {

using Model = const Table &;

// open.cpp --------------------------------------------------------------------
// How a table is opened.
struct Opening {
    std::uint32_t mode;          // KEL_OPEN_...
    const char *name = nullptr;  // for KEL_OPEN_BY_NAME
    std::uint64_t id = 0;        // for KEL_OPEN_BY_ID
    bool open_only = false;      // an absent table isn't created
    // For the object-id mapping of a table that is created:
    std::uint64_t ior = 0;
    bool dynamic = false;
};
kel_table *open(Model model, const Call &call, const Opening &opening);
void close(const Call &call);
void free(Model model, const Call &call, kel_table *table);

// count.cpp -------------------------------------------------------------------
std::uint32_t get_count(const Call &call, kel_table *table);
// Of the source in the low byte of `src`.
std::uint32_t get_count_by_src(const Call &call, kel_table *table, std::uint32_t src);

// record.cpp ------------------------------------------------------------------
// A record of the source in the low byte of `src`.
kel_record *create_record(Model model, const Call &call, std::uint32_t src);
kel_record *create_record_cr(Model model, kel_handle *handle, std::uint32_t with_objects);
std::uint32_t record_add_ref(const Call &call, kel_record *record);
void destroy_record(Model model, const Call &call, kel_record *record);
void request_record_destroy(Model model, const Call &call, kel_table *table, kel_record *record);
void *pkey_create(Model model, const Call &call);
void pkey_destroy(Model model, const Call &call, void *key_object);

// field.cpp: the two object slots of a record ---------------------------------
enum class Slot : std::uint8_t { object, key_object };
void *get_field(const kel_record *record, Slot slot);
void *get_field_detach(const Call &call, kel_record *record, Slot slot);
void set_field(Model model, const Call &call, kel_record *record, Slot slot, void *object);
void free_and_set_field(Model model, const Call &call, kel_record *record, Slot slot, void *object);

// index.cpp -------------------------------------------------------------------
struct Insertion {
    bool by_key_alone = false;  // marks the record so
};
void insert(Model model, const Call &call, kel_table *table, kel_record *record,
            Insertion insertion = {});
std::uint32_t insert_cr(Model model, kel_handle *handle, kel_table *table, kel_record *record);
// `delete` is a keyword of the language.
void remove(Model model, const Call &call, kel_table *table, kel_record *record);
std::uint32_t remove_cr(Model model, kel_handle *handle, kel_table *table, kel_record *record,
                        std::uint32_t destroy);

// search.cpp ------------------------------------------------------------------
struct Search {
    bool nearest = false;                       // if the key is absent, the next record after it
    bool backward = false;                      // or the next one before it
    std::uint32_t source = KEL_SOURCE_DEFAULT;  // in the low byte
    bool skip_pending = false;
};
// `key` is a key value: key.h.
kel_record *search(Model model, const Call &call, kel_table *table, const void *key,
                   Search wanted = {});
kel_record *search_sub_first(Model model, const Call &call, kel_table *table, const void *key);
kel_record *search_by_object(Model model, const Call &call, kel_table *table, const void *object,
                             Search wanted = {});

// traversal.cpp ---------------------------------------------------------------
// The records that a traversal finds.
struct Selection {
    std::uint32_t source = KEL_SOURCE_DEFAULT;  // in the low byte
    bool any_source = false;                    // whatever `source` is
    bool skip_pending = false;
};
kel_record *first(Model model, const Call &call, kel_table *table, Selection selection = {});
kel_record *last(Model model, const Call &call, kel_table *table, Selection selection = {});
kel_record *next(Model model, const Call &call, kel_table *table, const kel_record *record,
                 Selection selection = {});
kel_record *prev(Model model, const Call &call, kel_table *table, const kel_record *record,
                 Selection selection = {});
kel_record *sub_next(Model model, const Call &call, kel_table *table, kel_record *record);
kel_record *sub_prev(Model model, const Call &call, kel_table *table, kel_record *record);
kel_record *shadow(Model model, const Call &call, kel_table *table, kel_record *record);
kel_record *next_by_key(Model model, const Call &call, kel_table *table, const void *key,
                        Selection selection = {});
kel_record *prev_by_key(Model model, const Call &call, kel_table *table, const void *key,
                        Selection selection = {});
kel_record *next_by_object(Model model, const Call &call, kel_table *table, const void *object,
                           Selection selection = {});
kel_record *prev_by_object(Model model, const Call &call, kel_table *table, const void *object);
// The operation that `number` selects, of which some start from `record`.
struct Selector {
    std::uint32_t number;
    const kel_record *record;
};
kel_record *get_cr(Model model, kel_handle *handle, kel_table *table, Selector selector,
                   Selection selection);
// The source of a `_cr` operation: the low byte of `src`, or the default source if that is 0.
constexpr std::uint32_t source_of_cr(std::uint32_t src) {
    const std::uint32_t low = src & 0xffU;
    return low == 0 ? KEL_SOURCE_DEFAULT : low;
}
// `visit` is the table's <table>_<key>_avl_internal_walk.
void walk(kel_table *table, kel_walk_pair pair, e_avl_walk_function visit,
          const std::uint32_t *err);
void walk_cr(kel_handle *handle, kel_table *table, std::uint32_t key_number, kel_walk_pair pair,
             e_avl_walk_function visit);
// visit.cpp: the arguments that a tree passes after `pair` reach the function unchanged.
// The exported <table>_<key>_avl_internal_walk takes as many words and passes them on.
std::uint32_t visit(kel_index_node *node, void *pair, std::uintptr_t third, std::uintptr_t fourth,
                    std::uintptr_t fifth, std::uintptr_t sixth);
// A function that is called with fewer arguments than it takes, on purpose.
#if defined(__clang__)
#define TARN_CALLED_WITH_FEWER __attribute__((no_sanitize("function")))
#else
#define TARN_CALLED_WITH_FEWER
#endif

// callback.cpp ----------------------------------------------------------------
// `handler` is the table's own handler, taken by symbol so that a strong definition in
// the program is called.
using RecordHandler = void (*)(kel_handle *handle, std::uint32_t tx_id, void *table, void *record,
                               std::uint32_t *err);
using DmHandler = void (*)(kel_handle *handle, std::uint32_t tx_id, void *record,
                           std::uint32_t *err);
using GroupingHandler = void (*)(kel_handle *handle, std::uint32_t tx_id, void *item,
                                 std::uint32_t *err, void *arg1, void *arg2);
using FreeHandler = void (*)(kel_handle *handle, std::uint32_t tx_id, void *item,
                             std::uint32_t *err, void *arg1);
// The create, modify and delete callbacks.
void record_callback(const Call &call, void *table, void *record, RecordHandler handler);
// The create DM and delete DM callbacks.
void dm_callback(const Call &call, void *record, DmHandler handler);
void grouping_callback(const Call &call, void *item, void *arg1, void *arg2,
                       GroupingHandler handler);
void free_callback(const Call &call, void *item, void *arg1, FreeHandler handler);
// The weak defaults. `event`: "create", "modify", "delete", "grouping", "free".
void default_handler(Model model, const char *event, std::uint32_t *err);
// `event`: "create DM", "delete DM"; `handler` is the create or delete handler.
void default_dm_handler(Model model, const char *event, const Call &call, void *record,
                        RecordHandler handler);

// codec.cpp: wire forms of a record and of its key ----------------------------
std::uint32_t record_marshal(Model model, const Call &call, Output out, const kel_record *record);
std::uint32_t record_marshal_cr(Model model, kel_handle *handle, Output out,
                                const kel_record *record);
std::uint32_t record_unmarshal(Model model, const Call &call, Input in, kel_record **record,
                               InPlace in_place);
std::uint32_t record_len(Model model, const Call &call, const kel_record *record);
std::uint32_t record_len_cr(Model model, kel_handle *handle, const kel_record *record);
std::uint32_t record_is_modified(Model model, const Call &call, kel_record *record);
std::uint32_t pkey_len(Model model, const Call &call, const kel_record *record);
std::uint32_t pkey_marshal(Model model, const Call &call, Output out, const kel_record *record);
std::uint32_t pkey_unmarshal(Model model, const Call &call, Input in, void **pkey);

// text.cpp: text and XML forms ------------------------------------------------
std::uint32_t pkey_print(Model model, const Call &call, Output out, kel_table *table,
                         const kel_record *record);
std::uint32_t record_print(Model model, const Call &call, Output out, const kel_record *record);
std::uint32_t record_print_cr(Model model, kel_handle *handle, Output out,
                              const kel_record *record);
std::uint32_t record_to_xml(Model model, const Call &call, Output out, const kel_record *record);
std::uint32_t record_toxml_cr(Model model, kel_handle *handle, Output out,
                              const kel_record *record);
// `element` is the document, without a path.
kel_record *record_from_xml(Model model, const Call &call, const XmlElement &element);

}  // namespace tarnbase::table

#endif
