/* SPDX-License-Identifier: Apache-2.0 */
// A table seen through all of its exported operations, with the types of its
// objects and keys erased, so that one test runs on a table of every key kind.
// Keys are numbered: a higher number sorts later, whatever the kind of key.
#ifndef TARNBASE_TESTS_BEHAVIOUR_TABLE_SUBJECT_H
#define TARNBASE_TESTS_BEHAVIOUR_TABLE_SUBJECT_H

#include <cstdint>
#include <string>

#include "tarnbase/embedded.h"
#include "tarnbase/runtime.h"

namespace tarn::test {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;

// Operations that exist as a plain form and as an `_unsafe` form.
struct Operations {
    kel_table *(*open)(kel_handle *, u32 tx, const char *name, u32 open_only, u32 *err);
    kel_table *(*open_by_id)(kel_handle *, u32 tx, u64 id, u32 open_only, u32 *err);
    kel_table *(*open_auto_id)(kel_handle *, u32 tx, u32 open_only, u32 *err);
    kel_table *(*dynamic_open_auto_id)(kel_handle *, u32 tx, u32 open_only, u32 *err);
    kel_table *(*open_by_ior_with_name)(kel_handle *, u32 tx, const char *name, u64 ior,
                                        u32 open_only, u32 *err);
    kel_table *(*open_by_ior_with_id)(kel_handle *, u32 tx, u64 id, u64 ior, u32 open_only,
                                      u32 *err);
    void (*close)(kel_handle *, u32 tx, kel_table *, u32 *err);
    void (*free)(kel_handle *, u32 tx, kel_table *, u32 *err);
    u32 (*get_count)(kel_handle *, u32 tx, kel_table *);
    u32 (*get_count_by_src)(kel_handle *, u32 tx, kel_table *, u32 src);

    void (*create_cb)(kel_handle *, u32 tx, void *table, void *record, u32 *err);
    void (*modify_cb)(kel_handle *, u32 tx, void *table, void *record, u32 *err);
    void (*delete_cb)(kel_handle *, u32 tx, void *table, void *record, u32 *err);
    void (*create_dm_cb)(kel_handle *, u32 tx, void *record, u32 *err);
    void (*delete_dm_cb)(kel_handle *, u32 tx, void *record, u32 *err);
    void (*grouping_cb)(kel_handle *, u32 tx, void *item, u32 *err, void *, void *);
    void (*free_cb)(kel_handle *, u32 tx, void *item, u32 *err, void *);

    kel_record *(*create_record)(kel_handle *, u32 tx, u32 *err);
    u32 (*add_ref)(kel_handle *, u32 tx, kel_record *, u32 *err);
    void (*destroy_record)(kel_handle *, u32 tx, kel_record *, u32 *err);
    void (*request_destroy)(kel_handle *, u32 tx, kel_table *, kel_record *, u32 *err);
    void *(*pkey_create)(kel_handle *, u32 tx);
    void (*pkey_destroy)(kel_handle *, u32 tx, void *);

    void (*insert)(kel_handle *, u32 tx, kel_table *, kel_record *, u32 *err);
    void (*pkey_insert)(kel_handle *, u32 tx, kel_table *, kel_record *, u32 *err);
    void (*remove)(kel_handle *, u32 tx, kel_table *, kel_record *, u32 *err);
    kel_record *(*search)(kel_handle *, u32 tx, kel_table *, const void *key, u32 *err);
    kel_record *(*search_object)(kel_handle *, u32 tx, kel_table *, const void *object, u32 nearest,
                                 u32 *err);
    kel_record *(*search_object_w_src)(kel_handle *, u32 tx, kel_table *, const void *object,
                                       u32 nearest, u32 src, u32 *err);
    kel_record *(*next_by_object)(kel_handle *, u32 tx, kel_table *, const void *, u32 *err);
    kel_record *(*prev_by_object)(kel_handle *, u32 tx, kel_table *, const void *, u32 *err);

    u32 (*pkey_print)(kel_handle *, u32 tx, kel_table *, const kel_record *, char *, u32 length,
                      u32 *err);
    u32 (*pkey_len)(kel_handle *, u32 tx, const kel_record *);
    u32 (*print)(kel_handle *, u32 tx, char *, const kel_record *, u32 length, u32 *err);
    u32 (*to_xml)(kel_handle *, u32 tx, char *, const kel_record *, u32 length, u32 *err);
    kel_record *(*from_xml)(kel_handle *, u32 tx, void *document, u32 *err, char *message,
                            u32 message_len);
    u32 (*is_modified)(kel_handle *, u32 tx, kel_record *, u32 *err);
    u32 (*marshal)(kel_handle *, u32 tx, void *, const kel_record *, u32 length, u32 *err);
    u32 (*pkey_marshal)(kel_handle *, u32 tx, void *, const kel_record *, u32 length, u32 *err);
    u32 (*unmarshal)(kel_handle *, u32 tx, kel_record **, const void *, u32 length, u32 in_place,
                     u32 *err);
    u32 (*pkey_unmarshal)(kel_handle *, u32 tx, void **, const void *, u32 length, u32 *err);
    u32 (*len)(kel_handle *, u32 tx, const kel_record *);
};

// Reads by position that exist under three names: by key, by pkey and unsafe.
struct Traversal {
    using End = kel_record *(*)(kel_handle *, u32 tx, kel_table *, u32 *err);
    using EndBySrc = kel_record *(*)(kel_handle *, u32 tx, kel_table *, u32 src, u32 *err);
    using Step = kel_record *(*)(kel_handle *, u32 tx, kel_table *, kel_record *, u32 *err);
    using StepBySrc = kel_record *(*)(kel_handle *, u32 tx, kel_table *, kel_record *, u32 src,
                                      u32 *err);
    End first, last, first_ignore_src;
    EndBySrc first_by_src, last_by_src;
    Step next, prev, next_ignore_src, prev_ignore_src, sub_next, sub_prev, shadow;
    StepBySrc next_by_src, prev_by_src;
};

// Operations of the index that have one name only.
struct Index {
    using ByKey = kel_record *(*)(kel_handle *, u32 tx, kel_table *, const void *key, u32 *err);
    using Internal = kel_record *(*)(kel_handle *, u32 tx, kel_table *, kel_record *, u32 src,
                                     u32 match_src, u32 skip_pending, u32 *err);
    e_avl_compare_function compare;
    e_avl_walk_function internal_walk;
    kel_record *(*search_w_src)(kel_handle *, u32 tx, kel_table *, const void *key, u32 src,
                                u32 *err);
    ByKey search_nearest, search_sub_first;
    kel_record *(*search_not_pending)(kel_handle *, u32 tx, kel_table *, const void *key,
                                      u32 nearest, u32 *err);
    kel_record *(*search_internal)(kel_handle *, u32 tx, kel_table *, const void *key, u32 nearest,
                                   u32 forward, u32 src, u32 skip_pending, u32 *err);
    kel_record *(*search_cr)(kel_handle *, kel_table *, const void *key, u32 src, u32 nearest);
    Traversal::EndBySrc first_not_pending, last_not_pending;
    Traversal::StepBySrc next_not_pending, prev_not_pending;
    Internal next_internal, prev_internal;
    ByKey next_by_key, prev_by_key, next_by_key_not_pending, prev_by_key_not_pending;
    kel_record *(*next_by_key_w_src)(kel_handle *, u32 tx, kel_table *, const void *key, u32 src,
                                     u32 *err);
    kel_record *(*next_by_object_w_src)(kel_handle *, u32 tx, kel_table *, const void *object,
                                        u32 src, u32 *err);
    kel_record *(*get_cr)(kel_handle *, kel_table *, u32 selector, kel_record *, u32 src, u32 mode);
    void (*walk)(kel_table *, kel_walk_function, void *context, u32 *err);
    void (*unordered_traversal)();
};

struct CrOperations {
    kel_table *(*open)(kel_handle *, u32 open_only, u32 mode, const char *name, u64 id);
    void (*close)(kel_handle *, kel_table *);
    u32 (*get_count)(kel_handle *, kel_table *);
    kel_record *(*create)(kel_handle *, u32 with_objects);
    void (*destroy)(kel_handle *, kel_record *);
    u32 (*insert)(kel_handle *, kel_table *, kel_record *);
    u32 (*remove)(kel_handle *, kel_table *, kel_record *, u32 destroy);
    void (*walk)(kel_handle *, kel_table *, u32 key_number, kel_walk_function, void *context);
    u32 (*print)(kel_handle *, const kel_record *, char *, u32 length);
    u32 (*to_xml)(kel_handle *, const kel_record *, char *, u32 length);
    u32 (*marshal)(kel_handle *, const kel_record *, void *, u32 length);
    u32 (*len)(kel_handle *, const kel_record *);
};

// One object slot of a record, with what its type offers.
struct Slot {
    const char *type_name;
    void *(*get)(kel_handle *, u32 tx, kel_record *);
    void *(*detach)(kel_handle *, u32 tx, kel_record *);
    void (*set)(kel_handle *, u32 tx, kel_record *, void *object);
    void (*free_and_set)(kel_handle *, u32 tx, kel_record *, void *object);
    void *(*create)(kel_handle *, u32 tx);
    void (*destroy)(kel_handle *, u32 tx, void *object);
    void *(*create_cr)(kel_handle *);
    u32 (*size_of)(kel_handle *);
    u32 (*len)(kel_handle *, u32 tx, const void *object);
    u32 (*print)(kel_handle *, u32 tx, char *, u32 indent, const char *name, const void *object,
                 u32 length, u32 *err);
    u32 (*marshal)(kel_handle *, u32 tx, void *, const void *object, u32 length, u32 *err);
    u32 (*to_xml)(kel_handle *, u32 tx, const char *name, char *, const void *object, u32 length,
                  u8 state_flag, u32 *err);
    std::int32_t (*compare)(const void *a, const void *b);
    const kel_type_info *descriptor;
};

// A key value to search with, and the memory behind it.
struct KeyValue {
    u32 number = 0;
    std::string text;
    kel_vstring string = {};
    ip_address address = {};
    const void *value = nullptr;
};

struct Subject {
    const char *name;
    const char *key_name;   // of the key field; empty with a key structure
    const char *key_label;  // as the messages have it
    u32 keys;               // key numbers are below this
    const u8 *luid;
    const char *luid_text;
    const char *constant_name;
    const void *const *vector;
    const kel_type_info *table_descriptor;
    const kel_type_info *record_descriptor;

    Operations plain, unsafe;
    Traversal by_key, by_pkey, by_pkey_unsafe;
    Index index;
    CrOperations cr;
    kel_record *(*create_record_w_src)(kel_handle *, u32 tx, u32 src, u32 *err);
    Slot object;
    Slot key_object;  // type_name null on a table keyed by a field

    // Sets the key in a value object or, with a key structure, in a key object.
    void (*set_key)(kel_handle *, u32 tx, void *holder, u32 number, u32 *err);
    u32 (*get_key)(kel_handle *, const void *holder);
    // Fills in `key`; with a key structure its value is a key object, set before.
    void (*make_key)(KeyValue &key, u32 number);
    // Makes a new value object fit for every form; null where it already is.
    void (*prepare)(kel_handle *, u32 tx, void *object, u32 *err);
    // One field of the value object that is no key.
    void (*set_value)(kel_handle *, u32 tx, void *object, u32 value, u32 *err);
    u32 (*get_value)(kel_handle *, const void *object);

    bool has_key_object() const { return key_object.type_name != nullptr; }
    std::size_t record_size() const {
        return has_key_object() ? sizeof(kel_record) : KEL_RECORD_SIZE;
    }
};

// A key to search with: `value` for the keyed forms, `object` for the forms that take an
// object. The object is in the store and is destroyed with this.
class Key {
 public:
    Key(const Subject &subject, kel_handle *handle, u32 number);
    ~Key();
    Key(const Key &) = delete;
    Key &operator=(const Key &) = delete;

    const void *value() const { return value_.value; }
    void *object() const { return holder_; }

 private:
    const Subject &subject_;
    kel_handle *handle_;
    void *holder_;
    KeyValue value_;
};

// Field key: string (two types), integer, address, enumeration; and a structure.
extern const Subject ldap_conn;
extern const Subject test_grown;
extern const Subject test_label;
extern const Subject test_number;
extern const Subject test_address;
extern const Subject test_lamp;
extern const Subject test_pair;
extern const Subject *const all_subjects[7];

// A singleton. Nothing in the index limits it to one record.
extern const Subject test_single;

}  // namespace tarn::test

#endif
