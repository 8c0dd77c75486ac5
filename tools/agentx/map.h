// SPDX-License-Identifier: Apache-2.0
//
// Which fields SNMP shows as which objects. The schema compiler writes the constants.
#ifndef TOOLS_AGENTX_MAP_H
#define TOOLS_AGENTX_MAP_H

#include <cstdint>
#include <limits>
#include <span>
#include <string_view>

namespace agentx {

// The form of a value.
enum class Syntax : uint8_t {
    integer,          // INTEGER: a number or an enumeration
    unsigned_number,  // Unsigned32, Gauge32
    counter,          // Counter32
    counter64,        // Counter64
    decimal,          // a number in decimal, as a text
    truth,            // TruthValue: 1 is true, 2 is false
    text,             // the bytes of a string
    date,             // DateAndTime, in UTC
    address_type,     // InetAddressType of the next one
    address,          // InetAddress: of an address, or of a string that is one
    mac,              // MacAddress, of a string that is one
    assigned,         // of an index: a number that the program gives to the key
};

constexpr int64_t lowest = std::numeric_limits<int64_t>::min();
constexpr int64_t highest = std::numeric_limits<int64_t>::max();

struct MapColumn {
    uint32_t number;  // below the entry
    Syntax syntax;
    std::string_view path;      // of the field
    std::string_view fraction;  // of a date: of the nanoseconds
    bool in_key;                // a field of the key structure
    int64_t low;                // an integer beyond these has no value; of a text the length
    int64_t high;
};

struct MapTable {
    std::string_view table;           // of the schema
    bool is_own;                      // the entry is below the base of the module's own MIB
    std::span<const uint32_t> entry;  // the object identifier before a column's number
    // Made from the key. In the own MIB the name of the table, the tenant and the source precede.
    std::span<const MapColumn> index;
    std::span<const MapColumn> columns;  // by number
};

// A counter whose rise is a notification.
struct MapEvent {
    std::string_view table;
    std::string_view path;
    uint32_t notification;
};

struct Map {
    std::span<const uint32_t> base;
    std::span<const MapTable> tables;
    std::span<const MapEvent> events;
};

// Of the schema that this program was built with.
extern const Map map;

}  // namespace agentx

#endif
