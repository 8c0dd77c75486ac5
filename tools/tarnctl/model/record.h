// SPDX-License-Identifier: Apache-2.0
//
// Records as a user sees them: columns of key fields and other fields, tenant, source, forms. And
// keys as a user writes them.
#ifndef TARNCTL_MODEL_RECORD_H
#define TARNCTL_MODEL_RECORD_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/instance.h"
#include "model/store.h"
#include "model/value.h"

namespace tarnctl {

// A column of a table: a leaf of the key structure, if the table has one, or of the data object.
struct Column {
    Path path;
    bool is_key;         // part of the key
    bool in_key_object;  // a field of the key object, not of the data object

    std::string name() const { return path.text(); }
};

// The key's columns, then the others in the order of the schema.
std::vector<Column> columns_of(const Table &table);
// The column of this path, in the key structure first. Failure `usage` with a suggestion.
Column column_named(const Table &table, std::string_view path);
// The columns that make up the key, in the order of the key.
std::vector<Column> key_columns(const Table &table);

// A record, its table, and a handle on its store.
struct Record {
    const Table *table;
    kel_handle *handle;
    kel_record *record;

    Value value(const Column &column, uint32_t tx_id = KEL_TX_NONE) const;
    // The values of the key's columns with ", " between them.
    std::string key_text() const;
    uint16_t tenant() const { return record->tenant_id; }
    uint8_t src() const { return record->src; }
    bool is_shadow() const { return record->src == KEL_SOURCE_SHADOW; }
    bool is_pending() const { return (record->flags & KEL_RECORD_PENDING_DESTROY) != 0; }
    // The library's own text form.
    std::string text() const;
};

// False if the record's descriptors aren't in the store but in the memory of the process that made
// it, so that no other process can read it.
bool is_readable(const Store &store, const Record &record);
// Failure `store` if it isn't readable.
void check_readable(const Store &store, const Record &record);

// What is done about a record that isn't readable.
enum class Unreadable {
    fail,  // as check_readable
    leave_out,
};
// Whether the record is readable; if not, Failure `store` unless such ones are left out.
bool is_taken(const Store &store, const Record &record, Unreadable unreadable);

// Calls `function` with all records of an instance, of all tenants and sources, in key order, until
// it returns false. It must not delete records. Returns how many were left out.
uint64_t for_each_record(const Store &store, const Instance &instance,
                         const std::function<bool(const Record &)> &function,
                         Unreadable unreadable = Unreadable::fail);
// The same for a store that only this process uses, without check_readable.
void for_each_own_record(const Store &store, const Instance &instance,
                         const std::function<bool(const Record &)> &function);

// A key to search with. It is in a private store, so that making it changes no other.
class Key {
 public:
    // From the texts of the key's columns, in the order of the key. Failure `usage` for too many
    // or too few, `data` for one that is malformed.
    Key(const Table &table, const std::vector<std::string> &texts);
    // In a scratch store of the caller, which must outlive it: for many keys.
    Key(const Table &table, const std::vector<std::string> &texts, const Store &scratch);
    Key(const Key &) = delete;
    Key &operator=(const Key &) = delete;
    ~Key();

    // The argument of the catalogue's search functions.
    const void *get() const { return key_; }
    // A record of this key, tenant and source that is in no table, to search the index with.
    kel_record place(uint16_t tenant, uint8_t src) const;
    std::string text() const { return text_; }

 private:
    void make(const std::vector<std::string> &texts);

    const Table &table_;
    std::optional<Store> own_scratch_;
    kel_handle *handle_;
    void *carrier_ = nullptr;
    const void *key_ = nullptr;
    uint32_t number_ = 0;
    std::string text_;
};

// As for_each_record, for all records of one key; the index finds them.
uint64_t for_each_record_of_key(const Store &store, const Instance &instance, const Key &key,
                                const std::function<bool(const Record &)> &function,
                                Unreadable unreadable = Unreadable::fail);

// The record of this key, tenant and source; none if there is none that can be read.
std::optional<Record> record_at(const Store &store, const Instance &instance, const Key &key,
                                uint16_t tenant, uint8_t src);

// The record of this key and source in the thread's tenant; its `record` is null if there is none.
Record find_record(const Store &store, const Instance &instance, const Key &key, uint8_t src);
// The same, or the nearest one after (or, with `forward` false, before) the key.
Record find_nearest(const Store &store, const Instance &instance, const Key &key, uint8_t src,
                    bool forward);

}  // namespace tarnctl

#endif
