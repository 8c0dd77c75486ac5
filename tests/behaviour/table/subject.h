/* SPDX-License-Identifier: Apache-2.0 */
// A table of the tests' schema with all of its operations, from the catalogue, so that one
// test runs on a table of every kind of key. Keys are numbered: a higher number sorts later.
#ifndef TARNBASE_TESTS_BEHAVIOUR_TABLE_SUBJECT_H
#define TARNBASE_TESTS_BEHAVIOUR_TABLE_SUBJECT_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "catalogue/operations.h"
#include "tarnbase/embedded.h"
#include "tarnbase/runtime.h"

namespace tarn::test {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;

namespace catalogue = tarnbase::catalogue;
using catalogue::CrOperations;
using catalogue::Index;
using catalogue::Operations;
using catalogue::Slot;
using catalogue::Traversal;

// A key value to search with, and the memory that it refers to.
struct KeyValue {
    u32 number = 0;
    std::string text;
    kel_vstring string = {};
    ip_address address = {};
    const void *value = nullptr;
};

std::string label_text(u32 number);

class Subject : public catalogue::TableOperations {
 public:
    // `value_field`: an integer of the value object that is not part of the key.
    Subject(const char *name, u32 keys, const char *value_field,
            std::string (*key_text)(u32) = label_text);

    const catalogue::Table &entry;
    const char *const name;
    const char *const key_name;   // of the key field; empty with a key structure
    const std::string key_label;  // as in the messages
    const u32 keys;               // key numbers are below this

    // Sets the key in a value object or, with a key structure, in a key object.
    void set_key(kel_handle *handle, u32 tx, void *holder, u32 number, u32 *err) const;
    u32 get_key(kel_handle *handle, const void *holder) const;
    // Requires: the key is a field.
    void make_key(KeyValue &key, u32 number) const;
    // Makes a new value object fit for every form.
    void prepare(kel_handle *handle, u32 tx, void *value_object, u32 *err) const;
    void set_value(kel_handle *handle, u32 tx, void *value_object, u32 value, u32 *err) const;
    u32 get_value(kel_handle *handle, const void *value_object) const;

    bool has_key_object() const { return key_object.type != nullptr; }
    std::size_t record_size() const {
        return has_key_object() ? sizeof(kel_record) : KEL_RECORD_SIZE;
    }

 private:
    const catalogue::Field &value_;
    std::string (*const key_text_)(u32);
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
