/* SPDX-License-Identifier: Apache-2.0 */
// Fills in a Subject's operations from a table's exported names.
#ifndef TARNBASE_TESTS_BEHAVIOUR_TABLE_SUBJECT_MACROS_H
#define TARNBASE_TESTS_BEHAVIOUR_TABLE_SUBJECT_MACROS_H

#include "tarnbase/tarnbase.h"
#include "tests/behaviour/table/subject.h"

namespace tarn::test {

// Stands for a pointer of the type that an operation wants.
struct Any {
    const void *pointer;
    template <typename T>
    operator T *() const {
        return static_cast<T *>(const_cast<void *>(pointer));
    }
};

}  // namespace tarn::test

// P: the table's name, or name and key; S: empty or _unsafe.
#define TARN_OPERATIONS(T, KEY, S)                                                                 \
    {                                                                                              \
        .open = T##_table_open##S, .open_by_id = T##_table_open_by_id##S,                          \
        .open_auto_id = T##_table_open_auto_id##S,                                                 \
        .dynamic_open_auto_id = T##_dynamic_table_open_auto_id##S,                                 \
        .open_by_ior_with_name = T##_table_open_by_ior_with_name##S,                               \
        .open_by_ior_with_id = T##_table_open_by_ior_with_id##S, .close = T##_table_close##S,      \
        .free = T##_table_free##S, .get_count = T##_table_get_count##S,                            \
        .get_count_by_src = [](kel_handle *h, u32 tx, kel_table *t,                                \
                               u32 s) { return T##_table_get_count_by_src##S(h, tx, t, s); },      \
        .create_cb = T##_table_record_create_cb##S, .modify_cb = T##_table_record_modify_cb##S,    \
        .delete_cb = T##_table_record_delete_cb##S,                                                \
        .create_dm_cb = T##_table_record_create_dm_cb##S,                                          \
        .delete_dm_cb = T##_table_record_delete_dm_cb##S,                                          \
        .grouping_cb = T##_table_record_grouping_cb##S, .free_cb = T##_table_record_free_cb##S,    \
        .create_record = T##_create_record##S, .add_ref = T##_record_add_ref##S,                   \
        .destroy_record = T##_destroy_record##S, .request_destroy = T##_request_record_destroy##S, \
        .pkey_create = [](kel_handle *h, u32 tx) -> void * { return T##_pkey_create##S(h, tx); },  \
        .pkey_destroy = [](kel_handle *h, u32 tx,                                                  \
                           void *p) { T##_pkey_destroy##S(h, tx, Any{p}); },                       \
        .insert = T##_insert##S, .pkey_insert = T##_pkey_insert##S, .remove = T##_delete##S,       \
        .search = [](kel_handle *h, u32 tx, kel_table *t, const void *k,                           \
                     u32 *e) { return T##_##KEY##_search##S(h, tx, t, Any{k}, e); },               \
        .search_object = [](kel_handle *h, u32 tx, kel_table *t, const void *o, u32 n,             \
                            u32 *e) { return T##_search##S(h, tx, t, Any{o}, n, e); },             \
        .search_object_w_src =                                                                     \
            [](kel_handle *h, u32 tx, kel_table *t, const void *o, u32 n, u32 s, u32 *e) {         \
                return T##_search_w_src##S(h, tx, t, Any{o}, n, s, e);                             \
            },                                                                                     \
        .next_by_object = [](kel_handle *h, u32 tx, kel_table *t, const void *o,                   \
                             u32 *e) { return T##_get_next_by_key##S(h, tx, t, Any{o}, e); },      \
        .prev_by_object = [](kel_handle *h, u32 tx, kel_table *t, const void *o,                   \
                             u32 *e) { return T##_get_prev_by_key##S(h, tx, t, Any{o}, e); },      \
        .pkey_print = [](kel_handle *h, u32 tx, kel_table *t, const kel_record *r, char *b, u32 l, \
                         u32 *e) { return T##_pkey_print##S(h, tx, t, Any{r}, b, l, e); },         \
        .pkey_len = [](kel_handle *h, u32 tx,                                                      \
                       const kel_record *r) { return T##_table_pkey_len##S(h, tx, Any{r}); },      \
        .print = [](kel_handle *h, u32 tx, char *b, const kel_record *r, u32 l,                    \
                    u32 *e) { return T##_table_record_print##S(h, tx, b, Any{r}, l, e); },         \
        .to_xml = [](kel_handle *h, u32 tx, char *b, const kel_record *r, u32 l,                   \
                     u32 *e) { return T##_table_record_to_xml##S(h, tx, b, Any{r}, l, e); },       \
        .from_xml = T##_table_record_from_xml##S, .is_modified = T##_table_record_is_modified##S,  \
        .marshal = [](kel_handle *h, u32 tx, void *b, const kel_record *r, u32 l,                  \
                      u32 *e) { return T##_table_record_marshal##S(h, tx, b, Any{r}, l, e); },     \
        .pkey_marshal = [](kel_handle *h, u32 tx, void *b, const kel_record *r, u32 l,             \
                           u32 *e) { return T##_table_pkey_marshal##S(h, tx, b, Any{r}, l, e); },  \
        .unmarshal = T##_table_record_unmarshal##S,                                                \
        .pkey_unmarshal =                                                                          \
            [](kel_handle *h, u32 tx, void **p, const void *b, u32 l, u32 *e) {                    \
                return T##_table_pkey_unmarshal##S(h, tx, Any{p}, b, l, e);                        \
            },                                                                                     \
        .len = [](kel_handle *h, u32 tx, const kel_record *r) {                                    \
            return T##_table_record_len##S(h, tx, Any{r});                                         \
        }                                                                                          \
    }

#define TARN_END(F) [](kel_handle *h, u32 tx, kel_table *t, u32 *e) { return F(h, tx, t, e); }
#define TARN_END_BY_SRC(F) \
    [](kel_handle *h, u32 tx, kel_table *t, u32 s, u32 *e) { return F(h, tx, t, s, e); }
#define TARN_STEP(F) \
    [](kel_handle *h, u32 tx, kel_table *t, kel_record *r, u32 *e) { return F(h, tx, t, r, e); }
#define TARN_STEP_BY_SRC(F)                                                 \
    [](kel_handle *h, u32 tx, kel_table *t, kel_record *r, u32 s, u32 *e) { \
        return F(h, tx, t, r, s, e);                                        \
    }
#define TARN_STEP_INTERNAL(F)                                                             \
    [](kel_handle *h, u32 tx, kel_table *t, kel_record *r, u32 s, u32 m, u32 p, u32 *e) { \
        return F(h, tx, t, r, s, m, p, e);                                                \
    }
#define TARN_BY_KEY(F)                                               \
    [](kel_handle *h, u32 tx, kel_table *t, const void *k, u32 *e) { \
        return F(h, tx, t, Any{k}, e);                               \
    }
#define TARN_BY_KEY_AND_WORD(F)                                             \
    [](kel_handle *h, u32 tx, kel_table *t, const void *k, u32 w, u32 *e) { \
        return F(h, tx, t, Any{k}, w, e);                                   \
    }

// P: table and key, or table_pkey.
#define TARN_TRAVERSAL(P, S)                                                                    \
    {                                                                                           \
        .first = TARN_END(P##_get_first##S), .last = TARN_END(P##_get_last##S),                 \
        .first_ignore_src = TARN_END(P##_get_first_ignore_src##S),                              \
        .first_by_src = TARN_END_BY_SRC(P##_get_first_by_src##S),                               \
        .last_by_src = TARN_END_BY_SRC(P##_get_last_by_src##S),                                 \
        .next = TARN_STEP(P##_get_next##S), .prev = TARN_STEP(P##_get_prev##S),                 \
        .next_ignore_src = TARN_STEP(P##_get_next_ignore_src##S),                               \
        .prev_ignore_src = TARN_STEP(P##_get_prev_ignore_src##S),                               \
        .sub_next = TARN_STEP(P##_get_sub_next##S), .sub_prev = TARN_STEP(P##_get_sub_prev##S), \
        .shadow = TARN_STEP(P##_get_shadow##S),                                                 \
        .next_by_src = TARN_STEP_BY_SRC(P##_get_next_by_src##S),                                \
        .prev_by_src = TARN_STEP_BY_SRC(P##_get_prev_by_src##S)                                 \
    }

// P: table and key.
#define TARN_INDEX(T, P)                                                                       \
    {                                                                                          \
        .compare = P##_avl_compare, .internal_walk = P##_avl_internal_walk,                    \
        .search_w_src = TARN_BY_KEY_AND_WORD(P##_search_w_src),                                \
        .search_nearest = TARN_BY_KEY(P##_search_nearest),                                     \
        .search_sub_first = TARN_BY_KEY(P##_search_sub_first),                                 \
        .search_not_pending = TARN_BY_KEY_AND_WORD(P##_search_not_pending_destroy),            \
        .search_internal =                                                                     \
            [](kel_handle *h, u32 tx, kel_table *t, const void *k, u32 n, u32 f, u32 s, u32 p, \
               u32 *e) { return P##_search_internal(h, tx, t, Any{k}, n, f, s, p, e); },       \
        .search_cr = [](kel_handle *h, kel_table *t, const void *k, u32 s,                     \
                        u32 n) { return P##_search_cr(h, t, Any{k}, s, n); },                  \
        .first_not_pending = TARN_END_BY_SRC(P##_get_first_not_pending_destroy),               \
        .last_not_pending = TARN_END_BY_SRC(P##_get_last_not_pending_destroy),                 \
        .next_not_pending = TARN_STEP_BY_SRC(P##_get_next_not_pending_destroy),                \
        .prev_not_pending = TARN_STEP_BY_SRC(P##_get_prev_not_pending_destroy),                \
        .next_internal = TARN_STEP_INTERNAL(P##_get_next_internal),                            \
        .prev_internal = TARN_STEP_INTERNAL(P##_get_prev_internal),                            \
        .next_by_key = TARN_BY_KEY(P##_get_next_by_key),                                       \
        .prev_by_key = TARN_BY_KEY(P##_get_prev_by_key),                                       \
        .next_by_key_not_pending = TARN_BY_KEY(P##_get_next_by_key_not_pending_destroy),       \
        .prev_by_key_not_pending = TARN_BY_KEY(P##_get_prev_by_key_not_pending_destroy),       \
        .next_by_key_w_src = TARN_BY_KEY_AND_WORD(P##_get_next_by_key_w_src),                  \
        .next_by_object_w_src = TARN_BY_KEY_AND_WORD(T##_get_next_by_key_w_src),               \
        .get_cr = [](kel_handle *h, kel_table *t, u32 w, kel_record *r, u32 s,                 \
                     u32 m) { return P##_get_cr(h, t, w, r, s, m); },                          \
        .walk = P##_walk, .unordered_traversal = P##_unordered_traversal                       \
    }

#define TARN_CR_OPERATIONS(T)                                                                  \
    {                                                                                          \
        .open = T##_table_open_cr, .close = T##_table_close_cr,                                \
        .get_count = T##_table_get_count_cr, .create = T##_record_create_cr,                   \
        .destroy = T##_record_destroy_cr, .insert = T##_insert_cr, .remove = T##_delete_cr,    \
        .walk = T##_record_walk_cr,                                                            \
        .print = [](kel_handle *h, const kel_record *r, char *b,                               \
                    u32 l) { return T##_record_print_cr(h, Any{r}, b, l); },                   \
        .to_xml = [](kel_handle *h, const kel_record *r, char *b,                              \
                     u32 l) { return T##_record_toxml_cr(h, Any{r}, b, l); },                  \
        .marshal = [](kel_handle *h, const kel_record *r, void *b,                             \
                      u32 l) { return T##_record_marshal_cr(h, Any{r}, b, l); },               \
        .len = [](kel_handle *h, const kel_record *r) { return T##_record_len_cr(h, Any{r}); } \
    }

#define TARN_SLOT(T, TYPE)                                                                      \
    {                                                                                           \
        .type_name = #TYPE,                                                                     \
        .get = [](kel_handle *h, u32 tx, kel_record *r) -> void * {                             \
            return T##_##TYPE##_get_field(h, tx, r);                                            \
        },                                                                                      \
        .detach = [](kel_handle *h, u32 tx, kel_record *r) -> void * {                          \
            return T##_##TYPE##_get_field_detach(h, tx, r);                                     \
        },                                                                                      \
        .set = [](kel_handle *h, u32 tx, kel_record *r,                                         \
                  void *o) { T##_##TYPE##_set_field(h, tx, r, Any{o}); },                       \
        .free_and_set = [](kel_handle *h, u32 tx, kel_record *r,                                \
                           void *o) { T##_##TYPE##_free_and_set_field(h, tx, r, Any{o}); },     \
        .create = [](kel_handle *h, u32 tx) -> void * { return TYPE##_create(h, tx); },         \
        .destroy = [](kel_handle *h, u32 tx, void *o) { TYPE##_destroy(h, tx, Any{o}); },       \
        .create_cr = [](kel_handle *h) -> void * { return TYPE##_create_cr(h); },               \
        .size_of = [](kel_handle *h) { return TYPE##_sizeof(h); },                              \
        .len = [](kel_handle *h, u32 tx, const void *o) { return TYPE##_len(h, tx, Any{o}); },  \
        .print = [](kel_handle *h, u32 tx, char *b, u32 i, const char *n, const void *o, u32 l, \
                    u32 *e) { return TYPE##_print(h, tx, b, i, n, Any{o}, l, e); },             \
        .marshal = [](kel_handle *h, u32 tx, void *b, const void *o, u32 l,                     \
                      u32 *e) { return TYPE##_marshal(h, tx, b, Any{o}, l, e); },               \
        .to_xml = [](kel_handle *h, u32 tx, const char *n, char *b, const void *o, u32 l, u8 f, \
                     u32 *e) { return TYPE##_to_xml(h, tx, n, b, Any{o}, l, f, e); },           \
        .compare = [](const void *a, const void *b) { return TYPE##_compare(Any{a}, Any{b}); }, \
        .descriptor = &_##TYPE##_type_info_internal                                             \
    }

// The members of a Subject up to its slots.
#define TARN_TABLE(T, TYPE, KEY, KEY_NAME, KEY_LABEL, KEYS)                                 \
    .name = #T, .key_name = KEY_NAME, .key_label = KEY_LABEL, .keys = KEYS,                 \
    .luid = table_##T##_luid, .luid_text = table_##T##_luid_text,                           \
    .constant_name = table_##T##_name, .vector = T##_table_vft,                             \
    .table_descriptor = &_##T##_table_type_info_internal,                                   \
    .record_descriptor = &_##T##_table_record_type_info_internal,                           \
    .plain = TARN_OPERATIONS(T, KEY, ), .unsafe = TARN_OPERATIONS(T, KEY, _unsafe),         \
    .by_key = TARN_TRAVERSAL(T##_##KEY, ), .by_pkey = TARN_TRAVERSAL(T##_pkey, ),           \
    .by_pkey_unsafe = TARN_TRAVERSAL(T##_pkey, _unsafe), .index = TARN_INDEX(T, T##_##KEY), \
    .cr = TARN_CR_OPERATIONS(T),                                                            \
    .create_record_w_src = [](kel_handle *h, u32 tx, u32 s,                                 \
                              u32 *e) { return T##_create_record_w_src(h, tx, s, e); },     \
    .object = TARN_SLOT(T, TYPE)

#endif
