// SPDX-License-Identifier: Apache-2.0
//
// Values of fields in the forms that SNMP has.
#ifndef TOOLS_AGENTX_CELL_H
#define TOOLS_AGENTX_CELL_H

#include <cstdint>
#include <optional>
#include <string>

#include "agentx/map.h"
#include "model/record.h"

namespace agentx {

struct Cell {
    enum class Type : uint8_t { integer, unsigned_number, counter, counter64, octets } type;
    uint64_t number = 0;  // of an integer sign-extended
    std::string octets = {};

    // The form of a number with this syntax.
    static Cell of_number(Syntax syntax, uint64_t number);
    static Cell of_octets(std::string octets) { return {Type::octets, 0, std::move(octets)}; }
};

// Six bytes of a text such as 00:1b:44:11:3a:b7, 00-1b-44-11-3a-b7 or 001b.4411.3ab7.
std::optional<std::string> mac_address(std::string_view text);

// Reads a column from records.
class ColumnReader {
 public:
    ColumnReader(const tarnctl::Table &table, const MapColumn &column);

    // None if the record has no such value.
    std::optional<Cell> cell(const tarnctl::Record &record) const;
    // Whether the number in an index is one that the program gives to the text.
    bool is_assigned() const { return column_->syntax == Syntax::assigned; }

 private:
    std::optional<Cell> number_cell(uint64_t number) const;
    std::optional<Cell> address_cell(const tarnctl::Value &value) const;
    Cell date_cell(const tarnctl::Value &seconds, const tarnctl::Record &record) const;
    std::string first_bytes(std::string_view text) const;

    const MapColumn *column_;
    tarnctl::Column field_;
    std::optional<tarnctl::Column> fraction_;
};

}  // namespace agentx

#endif
