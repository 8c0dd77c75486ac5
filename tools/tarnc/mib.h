// SPDX-License-Identifier: Apache-2.0
// What SNMP shows of a schema: which fields follow the objects of standard MIBs, and the module's
// own MIB, in which every table has a place. tarn-agentx reads the same as constants.
#ifndef TARNC_MIB_H
#define TARNC_MIB_H

#include <cstdint>
#include <string>
#include <vector>

#include "source.h"

namespace tarnc {

struct Schema;
struct Table;
namespace syntax {
struct Schema;
}

struct MibColumn {
    std::string name;           // of the object
    std::uint64_t number = 0;   // below the table's entry
    std::string syntax;         // an enumerator of agentx::Syntax
    std::string type;           // as a MIB writes it; empty in a standard MIB
    std::string path;           // of the field; empty: the record's own
    std::string fraction;       // of a date: the path of the nanoseconds
    bool in_key = false;        // a field of the key structure
    bool is_accessible = true;  // false: only in the index
    std::string low;            // the range of its values, or of a text's length
    std::string high;
    std::string unit;
    std::string meaning;
};

// A table of the schema in a MIB.
struct MibTable {
    std::string name;
    bool is_own = true;                // else its object identifier isn't below the module's
    std::vector<std::uint64_t> entry;  // the object identifier of a row's columns
    const Table *table = nullptr;
    std::vector<MibColumn> index;    // made from the key; in the own MIB more parts precede it
    std::vector<MibColumn> columns;  // in the order of their numbers
};

struct MibNotification {
    std::string name;
    std::uint64_t number = 0;
    std::string meaning;
};

// A counter whose rise is a notification.
struct MibEvent {
    const Table *table = nullptr;
    std::string path;
    std::uint64_t notification = 0;
};

struct Mib {
    std::vector<std::uint64_t> base = {1, 3, 6, 1, 4, 1, 8072, 9999, 9999, 1};  // of the own one
    std::vector<MibTable> standard;  // by object identifier
    std::vector<MibTable> own;       // by number
    std::vector<MibNotification> notifications;
    std::vector<MibEvent> events;
};

// Of a schema whose tables were checked. Reports notes that are wrong.
Mib make_mib(const Schema &schema, const syntax::Schema &written, Diagnostics &diagnostics);

// "1.3.6" as numbers; none if it isn't an object identifier.
std::vector<std::uint64_t> parse_oid(const std::string &text);

}  // namespace tarnc

#endif
