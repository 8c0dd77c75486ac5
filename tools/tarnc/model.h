// SPDX-License-Identifier: Apache-2.0
// The checked schema: every name is looked up, every offset, position, size and
// identity is computed. Templates only write it down.
#ifndef TARNC_MODEL_H
#define TARNC_MODEL_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "frame/kinds.h"
#include "mib.h"
#include "source.h"

namespace tarnc {

struct Structure;
struct Enumeration;

using tarnbase::FieldKind;
using tarnbase::KindFacts;
using tarnbase::KindGroup;

// The kind of a built-in type; null if no built-in type has the name.
const KindFacts *find_built_in(const std::string &name);

struct Identity {
    std::string luid;
    std::string digest;
};

struct Field {
    std::string name;
    std::string meaning;
    std::string unit;               // of a number, "seconds"; empty where it isn't fixed
    std::string measure = "plain";  // or "counter", "gauge", "label", "parts" (measure.h)
    std::string measure_name;       // of the measure, as the schema writes it
    std::string type;               // as the schema names it
    Place place;
    FieldKind kind = FieldKind::u_int8;
    const Enumeration *enumeration = nullptr;
    const Structure *structure = nullptr;
    std::uint32_t elements = 0;  // of an array
    int first_variant = 0;
    std::size_t number = 0;  // its place among the fields
    std::uint32_t offset = 0;
    std::uint32_t size = 0;
    std::uint32_t state = 0;  // position in the state block
    std::uint32_t run = 1;    // fields from here on that are a run of numbers

    const KindFacts &facts() const { return tarnbase::facts_of(kind); }
    bool has_plain_value() const { return tarnbase::has_plain_value(kind); }
};

struct Variant {
    std::uint32_t used = 0;           // bytes up to the end of its last field
    std::uint32_t field_numbers = 0;  // valid in a domain of this variant
};

struct Structure {
    std::string name;
    std::string meaning;
    bool counts = false;   // its numbers are counters unless they say something else
    bool is_time = false;  // its two fields are seconds and nanoseconds
    Place place;
    Identity identity;
    std::vector<Field> fields;
    std::vector<Variant> variants;
    std::uint32_t plain_size = 0;
    std::uint32_t state_length = 0;

    int top_variant() const { return static_cast<int>(variants.size()) - 1; }
};

struct Enumerator {
    std::string name;
    std::string meaning;
    std::uint32_t value = 0;
};

struct Enumeration {
    std::string name;
    std::string meaning;
    Place place;
    Identity identity;
    std::vector<Enumerator> enumerators;
};

struct Table {
    std::string name;
    std::string meaning;
    Place place;
    Identity identity;
    Identity record_identity;
    const Structure *type = nullptr;
    const Structure *key_type = nullptr;  // null on a table keyed by a field
    const Field *key_field = nullptr;     // null on a table keyed by a structure

    // The key's part of an operation's name.
    std::string key() const {
        return key_type != nullptr ? key_type->name + "_" : type->name + "_" + key_field->name;
    }
    // The same in a message.
    std::string key_label() const {
        return key_type != nullptr ? key_type->name + " " : type->name + " " + key_field->name;
    }
    // The type of the object that carries a key outside a record.
    const Structure &key_carrier() const { return key_type != nullptr ? *key_type : *type; }
};

// Deques, so that items can point to each other.
struct Schema {
    std::string module;
    std::deque<Structure> structures;      // in the order of the descriptor list
    std::deque<Enumeration> enumerations;  // likewise
    std::deque<Table> tables;              // likewise
    std::vector<std::string> files;
    Mib mib;

    std::vector<const Table *> tables_by_luid() const;
};

}  // namespace tarnc

#endif
