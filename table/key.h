/* SPDX-License-Identifier: Apache-2.0 */
// A table's key is a field: one of the record's object, or, on a table keyed by a
// structure, the whole key object, a field of kind structure at offset 0. It is used with
// the operations that every field has.
//
// A "key value" is what callers pass to a search: the address of a field's value, with one
// exception. The key value of an enumeration is the address of a u_int32, the enumerator.
#ifndef TARNBASE_TABLE_KEY_H
#define TARNBASE_TABLE_KEY_H

#include "frame/schema.h"
#include "object/fields.h"

namespace tarnbase::table {

// The key as a record has it; null if the record lacks the object.
inline const void *stored_key(const Table &model, const kel_record *record) {
    return object::place_of(*model.key,
                            model.key_type != nullptr ? record->key_object : record->object);
}

// The key value in `holder`, an object with the key; null in a null object.
const void *key_value_in(const Table &model, const void *holder);
// Copies a key value to the key field of `object`, byte for byte.
void put_key_value(const Table &model, void *object, const void *key_value);

bool same_keys(const Table &model, const kel_record *a, const kel_record *b);
bool has_key_value(const Table &model, const kel_record *record, const void *key_value);

}  // namespace tarnbase::table

#endif
