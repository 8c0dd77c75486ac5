/* SPDX-License-Identifier: Apache-2.0 */
// Fills in a Kind's operations from the exported names of its structure or enumeration.
#ifndef TARNBASE_TESTS_BEHAVIOUR_FAULT_KIND_MACROS_H
#define TARNBASE_TESTS_BEHAVIOUR_FAULT_KIND_MACROS_H

#include "tarnbase/tarnbase.h"
#include "tests/behaviour/fault/kind.h"

namespace tarn::test {

// Converts to the pointer type that an operation takes.
struct Any {
    const void *pointer;
    template <typename T>
    operator T *() const {
        return static_cast<T *>(const_cast<void *>(pointer));
    }
};

}  // namespace tarn::test

// What both have.
#define TARN_KIND_BEGIN(TYPE)                                                              \
    .name = #TYPE, .descriptor = &_##TYPE##_type_info_internal,                            \
    .create = [](kel_handle *h, u32 tx) -> void * { return TYPE##_create(h, tx); },        \
    .create_cr = [](kel_handle *h) -> void * { return TYPE##_create_cr(h); },              \
    .destroy = [](kel_handle *h, u32 tx, void *o) { TYPE##_destroy(h, tx, Any{o}); },      \
    .destroy_cr = [](kel_handle *h, void *o) { TYPE##_destroy_cr(h, Any{o}); },            \
    .set_instance_embedded = [](kel_handle *h, u32 tx,                                     \
                                void *o) { TYPE##_set_instance_embedded(h, tx, Any{o}); }, \
    .adjust_variant = [](kel_handle *h, u32 tx, void *o,                                   \
                         u32 *e) { TYPE##_adjust_variant(h, tx, Any{o}, e); },             \
    .set = [](kel_handle *h, u32 tx, void *o, const void *s,                               \
              u32 *e) { TYPE##_set(h, tx, Any{o}, Any{s}, e); },                           \
    .marshal = [](kel_handle *h, u32 tx, void *b, const void *o, u32 l,                    \
                  u32 *e) { return TYPE##_marshal(h, tx, b, Any{o}, l, e); },              \
    .unmarshal = [](kel_handle *h, u32 tx, const void *b, void *o, u32 l, u32 p,           \
                    u32 *e) { return TYPE##_unmarshal(h, tx, b, Any{o}, l, p, e); },       \
    .print = [](kel_handle *h, u32 tx, char *b, const void *o, u32 l,                      \
                u32 *e) { return TYPE##_print(h, tx, b, 0, #TYPE, Any{o}, l, e); },        \
    .print_cr = [](kel_handle *h, const void *o, char *b,                                  \
                   u32 l) { return TYPE##_print_cr(h, Any{o}, b, l); },                    \
    .to_xml = [](kel_handle *h, u32 tx, char *b, const void *o, u32 l,                     \
                 u32 *e) { return TYPE##_to_xml(h, tx, #TYPE, b, Any{o}, l, 0, e); },      \
    .toxml_cr = [](kel_handle *h, const void *o, char *b,                                  \
                   u32 l) { return TYPE##_toxml_cr(h, Any{o}, b, l); },                    \
    .from_xml = [](kel_handle *h, u32 tx, void *d, void *o, u32 *e) {                      \
        char message[128] = {};                                                            \
        TYPE##_from_xml(h, tx, "//" #TYPE, d, Any{o}, e, message, sizeof message);         \
    }

// What structures have besides.
#define TARN_KIND(TYPE)                                                                           \
    TARN_KIND_BEGIN(TYPE),                                                                        \
        .offset_update = [](kel_handle *h, u32 tx, void *o, void *b,                              \
                            u32 *e) { TYPE##_offset_update(h, tx, Any{o}, b, e); },               \
        .offset_remove = [](kel_handle *h, u32 tx, void *o,                                       \
                            u32 *e) { TYPE##_offset_remove(h, tx, Any{o}, e); },                  \
        .post_copyout_cleanup =                                                                   \
            [](kel_handle *h, u32 tx, void *o, const void *s, u32 *e) {                           \
                TYPE##_post_copyout_cleanup(h, tx, Any{o}, Any{s}, e);                            \
            },                                                                                    \
        .backpropagate = [](kel_handle *h, u32 tx, void *o,                                       \
                            u32 *e) { return TYPE##_type_type_backpropagate(h, tx, Any{o}, e); }, \
        .clone =                                                                                  \
            [](kel_handle *h, u32 tx, const void *o, void **result, void *w, u32 l, u32 *e) {     \
                TYPE *made = nullptr;                                                             \
                TYPE##_clone(h, tx, Any{o}, &made, w, l, e);                                      \
                *result = made;                                                                   \
            },                                                                                    \
        .clone_cr = [](kel_handle *h, const void *o) -> void * {                                  \
            return TYPE##_clone_cr(h, Any{o});                                                    \
        },                                                                                        \
        .copy_cr = [](kel_handle *h, const void *s,                                               \
                      void *d) { TYPE##_copy_cr(h, Any{s}, Any{d}); },                            \
        .is_valid_cr = [](kel_handle *h, u32 f) { return TYPE##_is_valid_cr(h, nullptr, f); }

#endif
