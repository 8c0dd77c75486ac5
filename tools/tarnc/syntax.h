// SPDX-License-Identifier: Apache-2.0
// What a schema says, as it is written: names are not looked up yet.
#ifndef TARNC_SYNTAX_H
#define TARNC_SYNTAX_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "source.h"

namespace tarnc::syntax {

struct Number {
    std::uint64_t value = 0;
    Place place;
};

struct Unit {
    Place place;
    std::string text;
};

// How the field is measured, as `counter "frames"`.
struct Measure {
    Name word;
    std::optional<Name> name;
};

struct Field {
    Name type;
    std::optional<Number> elements;  // `u_int8[1440]`
    Name name;
    std::string meaning;
    std::optional<Unit> unit;
    std::optional<Measure> measure;
};

// A `variant N` section; the first one, variant 0, has no line of its own.
struct Variant {
    Number number;
    std::optional<Number> field_numbers;
    std::vector<Field> fields;
};

// The `luid` and `digest` lines of an item.
struct Identity {
    std::optional<Name> luid;
    std::optional<Name> digest;
};

struct Structure {
    Name name;
    std::string meaning;
    bool counts = false;   // its numbers are counters by default
    bool is_time = false;  // its two fields are seconds and nanoseconds
    Identity identity;
    std::vector<Variant> variants;
};

struct Enumerator {
    Name name;
    Number value;
    std::string meaning;  // may be empty
};

struct Enumeration {
    Name name;
    std::string meaning;
    Identity identity;
    std::vector<Enumerator> enumerators;
};

// `mib 12 ldapStats`: the table's number and name in the generated MIB.
struct MibEntry {
    Number number;
    Name name;
};

// `object dot1xAuthPaeState auth_state`, `notify authenticationFailure stats.rejects`: an object
// or a notification, and the path of a field.
struct MibNote {
    Name name;
    Name path;
};

struct Table {
    Name name;
    Name type;
    std::string meaning;
    bool keyed_by_structure = false;
    std::optional<Name> key;
    Identity identity;
    Identity record_identity;
    std::optional<MibEntry> mib;
    std::vector<MibNote> objects;
    std::vector<MibNote> events;
};

// A column of a table in a standard MIB.
struct StandardColumn {
    Name name;
    Number number;
    Name syntax;
    std::optional<Number> low;  // the range of its values, or of a text's length
    std::optional<Number> high;
};

// An `objects` item: a table of a standard MIB.
struct StandardTable {
    Name name;
    Name oid;
    std::optional<Name> index;
    std::vector<StandardColumn> columns;
};

// A `notification` item.
struct Notification {
    Name name;
    Number number;
    std::string meaning;
};

struct Schema {
    std::optional<Name> module;
    std::string meaning;
    std::vector<Structure> structures;
    std::vector<Enumeration> enumerations;
    std::vector<Table> tables;
    std::vector<StandardTable> standard_tables;
    std::vector<Notification> notifications;
    std::optional<Place> order_place;
    std::vector<Name> order;
    std::vector<std::string> files;  // all that were read, the module file first
};

}  // namespace tarnc::syntax

#endif
