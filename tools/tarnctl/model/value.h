// SPDX-License-Identifier: Apache-2.0
//
// Values in objects, and how a user names and writes them.
//
// A path names a leaf of a structure: `num_conns`, `aaa_authen.requests`, `minute[5]`.
//
// As text: numbers in decimal (hexadecimal after 0x is read too), a boolean as true or false (1 and
// 0 are read), an enumeration as its enumerator (its number is read, and the name without the
// prefix that all enumerators of the type share, in either case), an address as of inet_ntop(3) or
// empty, a string as it is.
#ifndef TARNCTL_MODEL_VALUE_H
#define TARNCTL_MODEL_VALUE_H

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "base/schema.h"
#include "model/value_type.h"

namespace tarnctl {

// The path of a leaf in a structure.
struct Path {
    std::vector<const Field *> fields;  // the outer ones first; the last is the leaf
    uint32_t index = 0;                 // in an array, 0 otherwise
    bool whole_array = false;           // all elements: `minute` without an index

    const Field &leaf() const { return *fields.back(); }
    std::string text() const;
};

// Failure `usage` with a suggestion if there is no such leaf.
Path parse_path(const Structure &structure, std::string_view text);
// All leaves in the order of the schema; a whole array is one leaf.
std::vector<Path> leaves_of(const Structure &structure);
// A field by its name, or null. The search begins with the field `first`: the fields of a document
// mostly follow each other in their order.
const Field *find_field(const Structure &structure, std::string_view name, std::size_t first);
// The highest variant of a structure, which its newest field brought.
int top_variant(const Structure &structure);

// A leaf of one object. Reading and setting go through the library's accessors, with the given
// handle and transaction.
class Value {
 public:
    // Follows `path` from `object`. Failure `store` if an accessor fails.
    Value(kel_handle *handle, uint32_t tx_id, void *object, const Path &path);

    // False if the object's variant lacks the field.
    bool present() const { return object_ != nullptr; }
    const Field &field() const { return *field_; }
    // Its path as text.
    std::string_view name() const { return name_.empty() ? field_->name : name_; }
    bool is_whole_array() const { return whole_array_; }

    uint64_t number(uint32_t index = 0) const;  // of a field that has a plain value
    const void *object() const;                 // of a type that is an object (value_type.h)
    std::string_view bytes() const;             // of a string; valid until the string is set
    std::vector<uint8_t> elements() const;      // of an array
    // As text. A whole array is its elements with a blank between them.
    std::string text() const;

    // Sets the value from text. Failure `data` with the field and the expected form.
    void set_text(std::string_view text);
    void set_number(uint64_t number, uint32_t index = 0);
    // Sets an integer. Failure `data` if the number is above the field's range.
    void set_integer(uint64_t number);
    // Adds to an integer or subtracts from it. Failure `data` where the sum is out of its range.
    void add(uint64_t amount);
    void subtract(uint64_t amount);
    // Sets an enumeration to a number that may be no enumerator's. The setters refuse such a
    // number, but it can come over the wire.
    void restore_number(uint32_t number);

 private:
    [[noreturn]] void expected(std::string_view text, std::string_view what) const;
    void set_array_text(std::string_view text);
    void set_object_text(const ObjectType &type, std::string_view text);
    std::string number_text(uint64_t number) const;
    uint64_t parsed_number(std::string_view text) const;
    uint64_t parsed_enumerator(std::string_view text) const;

    kel_handle *handle_;
    uint32_t tx_id_;
    void *object_;
    const Field *field_;
    std::string name_;  // empty: the field's
    uint32_t index_;
    bool whole_array_;
};

// The enumerator of a value, or null.
const Enumerator *enumerator_of(const Enumeration &enumeration, uint32_t value);
// The enumerators' names without their common prefix: "ALIVE" of SHOW_AAA_SERVER_ALIVE.
std::vector<std::string_view> short_names(const Enumeration &enumeration);

}  // namespace tarnctl

#endif
