// SPDX-License-Identifier: Apache-2.0
//
// Reads the variables of a block into the fields of a row, by the tables of mib.h. A variable that
// is absent or has a wrong value doesn't change its field; a wrong value is a problem.
#ifndef FEEDERS_DOT1X_READ_BLOCK_H
#define FEEDERS_DOT1X_READ_BLOCK_H

#include <optional>

#include "answer.h"
#include "mib.h"

namespace tarn_dot1x {

// The number of a variable; none if it is absent or wrong.
std::optional<uint32_t> read_number(const Block &block, std::string_view variable,
                                    std::span<const Choice> choices, Problems &problems);

// Adds to the fields. Sums wrap at 2^32, as counters do.
template <class Row, size_t N>
void add_numbers(const Block &block, const NumberEntry<Row> (&entries)[N], Row &row,
                 Problems &problems) {
    for (const NumberEntry<Row> &entry : entries)
        row.*entry.field += read_number(block, entry.variable, entry.choices, problems).value_or(0);
}

template <class Row, size_t N>
void read_texts(const Block &block, const TextEntry<Row> (&entries)[N], Row &row) {
    for (const TextEntry<Row> &entry : entries)
        if (const Variable *variable = block.find(entry.variable))
            row.*entry.field = variable->value;
}

}  // namespace tarn_dot1x

#endif
