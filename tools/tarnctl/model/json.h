// SPDX-License-Identifier: Apache-2.0
//
// The JSON form of values and records, the same in every command:
//
//   record   {"tenant": 0, "source": 1, "key": {...}, "fields": {...}}
//            "key" only on tables with a key structure; "fields" are those of the data object,
//            null if the record has none. After "source", only where needed:
//            "pending": true      the record awaits its destruction
//            "variant": 0         of the data object, if its type has newer ones
//            "state", "key_state" on objects with state flags: those that aren't 0, by the paths
//                                 of their fields: {"num_conns": 2, "minute[5]": 1}
//   field    a structure is an object, an array an array of numbers, a number a number, a boolean
//            true or false, but a number beyond 2^53 a string of its digits, since many readers
//            use doubles, which can't represent it exactly; an enumeration is its enumerator's
//            name, or its number if no enumerator has it; an address is text, or null if it is
//            empty; a string is a string, or {"hex": "00ff"} if it isn't UTF-8. A field that the
//            object's variant lacks is left out.
#ifndef TARNCTL_MODEL_JSON_H
#define TARNCTL_MODEL_JSON_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/schema.h"
#include "json/document.h"
#include "json/tree.h"
#include "model/record.h"
#include "model/value.h"

namespace tarnctl {

Json json_of(const Value &value);
Json json_of(const Record &record);
// The form of bytes: a string, or {"hex": ...}.
Json json_of_bytes(std::string_view bytes);
// The bytes of that form; none if `json` is another. Failure `data`, which begins with `name`, if
// the hexadecimal digits aren't pairs.
std::optional<std::string> bytes_of_json(JsonView json, std::string_view name);
// The form of an object of a value type, from its text.
Json json_of_object_text(const Field &field, std::string_view text);
// The form of numbers.
Json json_of_integer(uint64_t number);
Json json_of_integer(int64_t number);

// Sets a value from its JSON form. Failure `data` that names the field and what was expected.
void set_from_json(Value &value, JsonView json);

// How the members of an object are read.
struct JsonReading {
    bool lenient = false;  // unknown members are skipped
    // Enumerations take numbers that no enumerator has, which can come over the wire.
    bool any_number = false;
    // Of the member that is being read, or that was when reading failed: after those around it.
    std::vector<std::string_view> names;

    std::string path() const;
};
// Sets the fields of `object` that are members of `json`, an object; the others stay.
// Failure `data` that names the field.
void set_fields_from_json(kel_handle *handle, uint32_t tx_id, void *object,
                          const Structure &structure, JsonView json, JsonReading &reading);

}  // namespace tarnctl

#endif
