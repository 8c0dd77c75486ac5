// SPDX-License-Identifier: Apache-2.0
//
// The value types of fields, which aren't items of the schema: what each one is, and what is
// particular to a type that is an object. All else that tarnctl does with a value depends on
// its text.
#ifndef TARNCTL_MODEL_VALUE_TYPE_H
#define TARNCTL_MODEL_VALUE_TYPE_H

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/schema.h"
#include "tarnbase/descriptor.h"

namespace tarnctl {

// The wire form of an object: a number of the size that frame/kinds.h lists, then as many bytes
// as the number implies. Without a name for the number the form is bytes of that size alone.
struct WireForm {
    std::string_view number;  // "length"
    // The bytes after it; none if the number is malformed.
    std::optional<std::size_t> (*rest)(uint64_t number);
    std::string_view expected;  // well-formed numbers
    std::string (*text)(std::span<const uint8_t> bytes);
};

// Operations on an object of a value type, at `value`.
struct ObjectType {
    // Empty for an object that was never set.
    std::string (*text)(const void *value);
    // Makes a source for the library's setter, which refers to `text`. False: it isn't the text
    // of a value.
    bool (*parse)(std::string_view text, void *value);
    std::string_view expected;       // texts that can be parsed
    std::string_view expected_json;  // JSON values that can be read
    // Bytes in the order in which lists are sorted.
    std::string (*order)(const void *value);
    WireForm wire;
};

struct ValueType {
    std::string_view name;
    std::string_view meaning;
    std::string_view wire;
    std::string_view order;
    std::string_view text;                   // its form on the command line and in output
    const kel_type_info *descriptor;         // null of a type that isn't an object
    const ObjectType *operations = nullptr;  // null of a type with a plain value
};

std::span<const ValueType> value_types();
// Null if there is no such type.
const ValueType *value_type(std::string_view name);
// Null for a field without such a type.
const ObjectType *object_type(const Field &field);

}  // namespace tarnctl

#endif
