// SPDX-License-Identifier: Apache-2.0
//
// All operations of a table and of a whole object, for programs that need more than the
// catalogue's entries have: the plain and the `_unsafe` form, each traversal and the `_cr` forms.
// The contract of each one is in the generated header of the item. A `key` argument is that of
// catalogue.h; a table's `object` is an object of the structure that carries the key.
#ifndef TARNBASE_CATALOGUE_OPERATIONS_H
#define TARNBASE_CATALOGUE_OPERATIONS_H

#include "catalogue/catalogue.h"
#include "tarnbase/runtime.h"

namespace tarnbase::catalogue {

// Operations that have a plain and an `_unsafe` form.
struct Operations {
    kel_table *(*open)(kel_handle *, uint32_t tx_id, const char *name, uint32_t open_only,
                       uint32_t *err);
    kel_table *(*open_by_id)(kel_handle *, uint32_t tx_id, uint64_t id, uint32_t open_only,
                             uint32_t *err);
    kel_table *(*open_auto_id)(kel_handle *, uint32_t tx_id, uint32_t open_only, uint32_t *err);
    kel_table *(*dynamic_open_auto_id)(kel_handle *, uint32_t tx_id, uint32_t open_only,
                                       uint32_t *err);
    kel_table *(*open_by_ior_with_name)(kel_handle *, uint32_t tx_id, const char *name,
                                        uint64_t ior, uint32_t open_only, uint32_t *err);
    kel_table *(*open_by_ior_with_id)(kel_handle *, uint32_t tx_id, uint64_t id, uint64_t ior,
                                      uint32_t open_only, uint32_t *err);
    void (*close)(kel_handle *, uint32_t tx_id, kel_table *, uint32_t *err);
    void (*free)(kel_handle *, uint32_t tx_id, kel_table *, uint32_t *err);
    uint32_t (*get_count)(kel_handle *, uint32_t tx_id, kel_table *);
    uint32_t (*get_count_by_src)(kel_handle *, uint32_t tx_id, kel_table *, uint32_t src);

    void (*create_cb)(kel_handle *, uint32_t tx_id, void *table, void *record, uint32_t *err);
    void (*modify_cb)(kel_handle *, uint32_t tx_id, void *table, void *record, uint32_t *err);
    void (*delete_cb)(kel_handle *, uint32_t tx_id, void *table, void *record, uint32_t *err);
    void (*create_dm_cb)(kel_handle *, uint32_t tx_id, void *record, uint32_t *err);
    void (*delete_dm_cb)(kel_handle *, uint32_t tx_id, void *record, uint32_t *err);
    void (*grouping_cb)(kel_handle *, uint32_t tx_id, void *item, uint32_t *err, void *arg1,
                        void *arg2);
    void (*free_cb)(kel_handle *, uint32_t tx_id, void *item, uint32_t *err, void *arg1);

    kel_record *(*create_record)(kel_handle *, uint32_t tx_id, uint32_t *err);
    uint32_t (*add_ref)(kel_handle *, uint32_t tx_id, kel_record *, uint32_t *err);
    void (*destroy_record)(kel_handle *, uint32_t tx_id, kel_record *, uint32_t *err);
    void (*request_destroy)(kel_handle *, uint32_t tx_id, kel_table *, kel_record *, uint32_t *err);
    void *(*pkey_create)(kel_handle *, uint32_t tx_id);
    void (*pkey_destroy)(kel_handle *, uint32_t tx_id, void *object);

    void (*insert)(kel_handle *, uint32_t tx_id, kel_table *, kel_record *, uint32_t *err);
    void (*pkey_insert)(kel_handle *, uint32_t tx_id, kel_table *, kel_record *, uint32_t *err);
    void (*remove)(kel_handle *, uint32_t tx_id, kel_table *, kel_record *, uint32_t *err);
    kel_record *(*search)(kel_handle *, uint32_t tx_id, kel_table *, const void *key,
                          uint32_t *err);
    kel_record *(*search_object)(kel_handle *, uint32_t tx_id, kel_table *, const void *object,
                                 uint32_t nearest, uint32_t *err);
    kel_record *(*search_object_w_src)(kel_handle *, uint32_t tx_id, kel_table *,
                                       const void *object, uint32_t nearest, uint32_t src,
                                       uint32_t *err);
    kel_record *(*next_by_object)(kel_handle *, uint32_t tx_id, kel_table *, const void *object,
                                  uint32_t *err);
    kel_record *(*prev_by_object)(kel_handle *, uint32_t tx_id, kel_table *, const void *object,
                                  uint32_t *err);

    uint32_t (*pkey_print)(kel_handle *, uint32_t tx_id, kel_table *, const kel_record *,
                           char *buffer, uint32_t buffer_len, uint32_t *err);
    uint32_t (*pkey_len)(kel_handle *, uint32_t tx_id, const kel_record *);
    uint32_t (*print)(kel_handle *, uint32_t tx_id, char *buffer, const kel_record *,
                      uint32_t buffer_len, uint32_t *err);
    uint32_t (*to_xml)(kel_handle *, uint32_t tx_id, char *buffer, const kel_record *,
                       uint32_t buffer_len, uint32_t *err);
    kel_record *(*from_xml)(kel_handle *, uint32_t tx_id, void *document, uint32_t *err,
                            char *message, uint32_t message_len);
    uint32_t (*is_modified)(kel_handle *, uint32_t tx_id, kel_record *, uint32_t *err);
    uint32_t (*marshal)(kel_handle *, uint32_t tx_id, void *buffer, const kel_record *,
                        uint32_t buffer_len, uint32_t *err);
    uint32_t (*pkey_marshal)(kel_handle *, uint32_t tx_id, void *buffer, const kel_record *,
                             uint32_t buffer_len, uint32_t *err);
    uint32_t (*unmarshal)(kel_handle *, uint32_t tx_id, kel_record **, const void *buffer,
                          uint32_t buffer_len, uint32_t in_place, uint32_t *err);
    // `object` points to a pointer to the object.
    uint32_t (*pkey_unmarshal)(kel_handle *, uint32_t tx_id, void *object, const void *buffer,
                               uint32_t buffer_len, uint32_t *err);
    uint32_t (*len)(kel_handle *, uint32_t tx_id, const kel_record *);
};

// Reads by position, which exist under three names: by key, by pkey, and the latter's `_unsafe`.
struct Traversal {
    using End = kel_record *(*)(kel_handle *, uint32_t tx_id, kel_table *, uint32_t *err);
    using EndBySrc = kel_record *(*)(kel_handle *, uint32_t tx_id, kel_table *, uint32_t src,
                                     uint32_t *err);
    using Step = kel_record *(*)(kel_handle *, uint32_t tx_id, kel_table *, kel_record *,
                                 uint32_t *err);
    using StepBySrc = kel_record *(*)(kel_handle *, uint32_t tx_id, kel_table *, kel_record *,
                                      uint32_t src, uint32_t *err);
    End first, last, first_ignore_src;
    EndBySrc first_by_src, last_by_src;
    Step next, prev, next_ignore_src, prev_ignore_src, sub_next, sub_prev, shadow;
    StepBySrc next_by_src, prev_by_src;
};

// Operations of the index that have one name only.
struct Index {
    using ByKey = kel_record *(*)(kel_handle *, uint32_t tx_id, kel_table *, const void *key,
                                  uint32_t *err);
    using ByKeyAndWord = kel_record *(*)(kel_handle *, uint32_t tx_id, kel_table *, const void *key,
                                         uint32_t word, uint32_t *err);
    using Internal = kel_record *(*)(kel_handle *, uint32_t tx_id, kel_table *, kel_record *,
                                     uint32_t src, uint32_t match_src, uint32_t skip_pending,
                                     uint32_t *err);
    e_avl_compare_function compare;     // these two are the exported functions themselves,
    e_avl_walk_function internal_walk;  // as the library passes them to the runtime
    ByKeyAndWord search_w_src;          // the word: src
    ByKey search_nearest, search_sub_first;
    ByKeyAndWord search_not_pending;  // nearest
    kel_record *(*search_internal)(kel_handle *, uint32_t tx_id, kel_table *, const void *key,
                                   uint32_t nearest, uint32_t forward, uint32_t src,
                                   uint32_t skip_pending, uint32_t *err);
    kel_record *(*search_cr)(kel_handle *, kel_table *, const void *key, uint32_t src,
                             uint32_t nearest);
    Traversal::EndBySrc first_not_pending, last_not_pending;
    Traversal::StepBySrc next_not_pending, prev_not_pending;
    Internal next_internal, prev_internal;
    ByKey next_by_key, prev_by_key, next_by_key_not_pending, prev_by_key_not_pending;
    ByKeyAndWord next_by_key_w_src;     // src
    ByKeyAndWord next_by_object_w_src;  // src
    kel_record *(*get_cr)(kel_handle *, kel_table *, uint32_t selector, kel_record *, uint32_t src,
                          uint32_t mode);
    void (*walk)(kel_table *, kel_walk_function, void *context, uint32_t *err);
    void (*unordered_traversal)();
};

// Operations in the handle's own transaction.
struct CrOperations {
    kel_table *(*open)(kel_handle *, uint32_t open_only, uint32_t mode, const char *name,
                       uint64_t id);
    void (*close)(kel_handle *, kel_table *);
    uint32_t (*get_count)(kel_handle *, kel_table *);
    kel_record *(*create)(kel_handle *, uint32_t with_objects);
    void (*destroy)(kel_handle *, kel_record *);
    uint32_t (*insert)(kel_handle *, kel_table *, kel_record *);
    uint32_t (*remove)(kel_handle *, kel_table *, kel_record *, uint32_t destroy);
    void (*walk)(kel_handle *, kel_table *, uint32_t key_number, kel_walk_function, void *context);
    uint32_t (*print)(kel_handle *, const kel_record *, char *buffer, uint32_t buffer_len);
    uint32_t (*to_xml)(kel_handle *, const kel_record *, char *buffer, uint32_t buffer_len);
    uint32_t (*marshal)(kel_handle *, const kel_record *, void *buffer, uint32_t buffer_len);
    uint32_t (*len)(kel_handle *, const kel_record *);
};

// One object slot of a record, with the operations of its structure.
struct Slot {
    const Structure *type;  // null on a table without the slot
    void *(*get)(kel_handle *, uint32_t tx_id, kel_record *);
    void *(*detach)(kel_handle *, uint32_t tx_id, kel_record *);
    void (*set)(kel_handle *, uint32_t tx_id, kel_record *, void *object);
    void (*free_and_set)(kel_handle *, uint32_t tx_id, kel_record *, void *object);
    void *(*create_cr)(kel_handle *);
    uint32_t (*size_of)(kel_handle *);
};

struct TableOperations {
    const char *luid_text;
    const char *name;
    const void *const *vector;

    Operations plain, unsafe;
    Traversal by_key, by_pkey, by_pkey_unsafe;
    Index index;
    CrOperations cr;
    kel_record *(*create_record_w_src)(kel_handle *, uint32_t tx_id, uint32_t src, uint32_t *err);
    Slot object;
    Slot key_object;
};

struct ObjectOperations {
    void *(*create)(kel_handle *, uint32_t tx_id);
    void *(*create_cr)(kel_handle *);
    void (*destroy)(kel_handle *, uint32_t tx_id, void *object);
    void (*destroy_cr)(kel_handle *, void *object);
    void (*set_instance_embedded)(kel_handle *, uint32_t tx_id, void *object);
    int32_t (*adjust_variant)(kel_handle *, uint32_t tx_id, void *object, uint32_t *err);
    uint32_t (*backpropagate)(kel_handle *, uint32_t tx_id, void *object, uint32_t *err);
    void (*set)(kel_handle *, uint32_t tx_id, void *object, const void *source, uint32_t *err);

    uint32_t (*marshal)(kel_handle *, uint32_t tx_id, void *buffer, const void *object,
                        uint32_t buffer_len, uint32_t *err);
    uint32_t (*unmarshal)(kel_handle *, uint32_t tx_id, const void *buffer, void *object,
                          uint32_t buffer_len, uint32_t in_place, uint32_t *err);
    uint32_t (*print)(kel_handle *, uint32_t tx_id, char *buffer, uint32_t indent, const char *name,
                      const void *object, uint32_t buffer_len, uint32_t *err);
    uint32_t (*print_cr)(kel_handle *, const void *object, char *buffer, uint32_t buffer_len);
    uint32_t (*to_xml)(kel_handle *, uint32_t tx_id, const char *name, char *buffer,
                       const void *object, uint32_t buffer_len, uint8_t state_flag, uint32_t *err);
    uint32_t (*toxml_cr)(kel_handle *, const void *object, char *buffer, uint32_t buffer_len);
    void (*from_xml)(kel_handle *, uint32_t tx_id, const char *path, void *document, void *object,
                     uint32_t *err, char *message, uint32_t message_len);

    // Of an enumeration; null in a structure.
    uint32_t (*get_value)(kel_handle *, uint32_t tx_id, const void *object, uint32_t *err);
    void (*set_value)(kel_handle *, uint32_t tx_id, void *object, uint32_t value, uint32_t *err);
    uint32_t (*is_valid_value_cr)(kel_handle *, uint32_t value);

    // Of a structure; null in an enumeration.
    void (*offset_update)(kel_handle *, uint32_t tx_id, void *object, void *sttr_base,
                          uint32_t *err);
    void (*offset_remove)(kel_handle *, uint32_t tx_id, void *object, uint32_t *err);
    void (*post_copyout_cleanup)(kel_handle *, uint32_t tx_id, void *destination,
                                 const void *source, uint32_t *err);
    // `result` points to a pointer to the new object.
    void (*clone)(kel_handle *, uint32_t tx_id, const void *object, void *result, void *workspace,
                  uint32_t workspace_len, uint32_t *err);
    void *(*clone_cr)(kel_handle *, const void *object);
    void (*copy_cr)(kel_handle *, const void *source, void *destination);
    uint32_t (*is_valid_field_cr)(kel_handle *, const void *object, uint32_t field_index);
};

// Generated, in a file of their own. Requires: the item is one of the catalogue.
const TableOperations &operations_of(const Table &table);
const ObjectOperations &operations_of(const Structure &structure);
const ObjectOperations &operations_of(const Enumeration &enumeration);

}  // namespace tarnbase::catalogue

#endif
