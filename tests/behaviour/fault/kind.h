/* SPDX-License-Identifier: Apache-2.0 */
// The exported operations of a structure or an enumeration, with its type erased.
#ifndef TARNBASE_TESTS_BEHAVIOUR_FAULT_KIND_H
#define TARNBASE_TESTS_BEHAVIOUR_FAULT_KIND_H

#include <map>
#include <string>

#include "tests/behaviour/table/subject.h"

namespace tarn::test {

// What can be seen of something, by name.
using Sight = std::map<std::string, std::string>;

struct Kind {
    const char *name;
    const kel_type_info *descriptor;
    void *(*create)(kel_handle *, u32 tx);
    void *(*create_cr)(kel_handle *);
    void (*destroy)(kel_handle *, u32 tx, void *);
    void (*destroy_cr)(kel_handle *, void *);
    void (*set_instance_embedded)(kel_handle *, u32 tx, void *);
    void (*adjust_variant)(kel_handle *, u32 tx, void *, u32 *err);
    void (*set)(kel_handle *, u32 tx, void *, const void *source, u32 *err);
    u32 (*marshal)(kel_handle *, u32 tx, void *, const void *, u32 length, u32 *err);
    u32 (*unmarshal)(kel_handle *, u32 tx, const void *, void *, u32 length, u32 in_place,
                     u32 *err);
    u32 (*print)(kel_handle *, u32 tx, char *, const void *, u32 length, u32 *err);
    u32 (*print_cr)(kel_handle *, const void *, char *, u32 length);
    u32 (*to_xml)(kel_handle *, u32 tx, char *, const void *, u32 length, u32 *err);
    u32 (*toxml_cr)(kel_handle *, const void *, char *, u32 length);
    void (*from_xml)(kel_handle *, u32 tx, void *document, void *, u32 *err);
    void (*offset_update)(kel_handle *, u32 tx, void *, void *sttr_base, u32 *err) = nullptr;
    void (*offset_remove)(kel_handle *, u32 tx, void *, u32 *err) = nullptr;
    void (*post_copyout_cleanup)(kel_handle *, u32 tx, void *, const void *source,
                                 u32 *err) = nullptr;
    u32 (*backpropagate)(kel_handle *, u32 tx, void *, u32 *err);
    void (*clone)(kel_handle *, u32 tx, const void *, void **result, void *workspace, u32 length,
                  u32 *err) = nullptr;
    void *(*clone_cr)(kel_handle *, const void *) = nullptr;
    void (*copy_cr)(kel_handle *, const void *source, void *destination) = nullptr;
    u32 (*is_valid_cr)(kel_handle *, u32 field_index_or_value);

    // Sets every field to a value of the first or the second of two sets. The texts are stored
    // outside their strings and differ in length.
    void (*fill)(kel_handle *, u32 tx, void *, u32 set, u32 *err);
    // The fields' values, by their names.
    void (*see)(kel_handle *, const void *, Sight &sight);
};

// Of the tests' schema.
extern const Kind kind_every;
extern const Kind kind_grown;
extern const Kind kind_tag;
extern const Kind kind_pair;
extern const Kind kind_pair_key;
extern const Kind kind_single;
extern const Kind kind_lamp;  // an enumeration: what structures alone have is null

}  // namespace tarn::test

#endif
