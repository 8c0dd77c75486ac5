/* SPDX-License-Identifier: Apache-2.0 */
// A table's key, whatever its kind. A "key value" is what callers hand to a
// search: the address of a u_int32, of a kel_vstring, of an ip_address, of an
// enumerator's word, or a key object. A "stored key" is the key as a record has
// it: the field in its object, or its key object; null if that is missing.
#ifndef TARNBASE_TABLE_KEY_H
#define TARNBASE_TABLE_KEY_H

#include <cstdint>

#include "frame/schema.h"

namespace tarnbase::table {

// The key in `holder`: its key field, or `holder` itself on a table keyed by a
// structure. `holder` is a pkey or what a record holds; null gives null.
void *key_in(const Table &model, void *holder);
const void *stored_key(const Table &model, const kel_record *record);
// The key value for a search by the key in `holder`.
const void *key_value_in(const Table &model, const void *holder);
// Puts a key value in the key field of `object`, byte for byte.
void put_key_value(const Table &model, void *object, const void *key_value);

bool same_keys(const Table &model, const kel_record *a, const kel_record *b);
bool has_key_value(const Table &model, const kel_record *record, const void *key_value);

std::uint32_t key_len(const Table &model, kel_handle *handle, std::uint32_t tx_id, const void *key);
std::uint32_t key_marshal(const Table &model, kel_handle *handle, std::uint32_t tx_id, void *buffer,
                          const void *key, std::uint32_t buffer_len, std::uint32_t *err);
std::uint32_t key_unmarshal(const Table &model, kel_handle *handle, std::uint32_t tx_id,
                            const void *buffer, void *key, std::uint32_t buffer_len,
                            std::uint32_t *err);
std::uint32_t key_print(const Table &model, kel_handle *handle, std::uint32_t tx_id, char *buffer,
                        const void *key, std::uint32_t buffer_len, std::uint32_t *err);

}  // namespace tarnbase::table

#endif
