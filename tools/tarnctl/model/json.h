// SPDX-License-Identifier: Apache-2.0
//
// The JSON form of values and records, the same in every command:
//
//   record   {"tenant": 0, "source": 1, "key": {...}, "fields": {...}}
//            "key" on tables with a key structure alone; "fields" are those of the data object,
//            null if the record has none. Only where they tell something, and behind "source":
//            "pending": true      the record waits to be destroyed
//            "variant": 0         of the data object, if its type has newer ones
//            "state", "key_state" on objects with state flags: those that aren't 0, by the paths
//                                 of their fields: {"num_conns": 2, "minute[5]": 1}
//   field    a structure is an object, an array an array of numbers, a number a number, a boolean
//            true or false, but a number beyond 2^53 a string of its digits: many readers take
//            numbers for doubles, which can't tell it from its neighbours; an enumeration is its
//            enumerator's name, or a number that is none's; an address is text, null if it is none;
//            a string is a string, or {"hex": "00ff"} if it isn't UTF-8. A field that the object's
//            variant doesn't have is left out.
#ifndef TARNCTL_MODEL_JSON_H
#define TARNCTL_MODEL_JSON_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/schema.h"
#include "json/document.h"
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
// The form of numbers.
Json json_of_integer(uint64_t number);
Json json_of_integer(int64_t number);

// Sets a value from its JSON form. Failure `data` that names the field and what was expected.
void set_from_json(Value &value, JsonView json);

// How the members of an object are taken.
struct JsonReading {
    bool lenient = false;  // members that are no fields are passed over
    // Enumerations take numbers that are no enumerator's, as they can come over the wire.
    bool any_number = false;
    std::string path;  // of the member being read, or where reading failed
};
// Sets the fields of `object` that `json`, an object, has as members; the others stay.
// Failure `data` that names the field.
void set_fields_from_json(kel_handle *handle, uint32_t tx_id, void *object,
                          const Structure &structure, JsonView json, JsonReading &reading);

}  // namespace tarnctl

#endif
