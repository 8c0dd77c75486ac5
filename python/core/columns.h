// SPDX-License-Identifier: Apache-2.0
//
// Columns: fields of all records of a table, in one walk, as buffers without an object a value.
#ifndef TARNBASE_PYTHON_COLUMNS_H
#define TARNBASE_PYTHON_COLUMNS_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "table.h"

namespace tarnbase::python {

// Values one after the other, as the buffer protocol describes them.
struct Buffer {
    std::string format;              // of the module `struct`
    std::size_t item_size = 1;       // bytes
    std::vector<std::size_t> shape;  // rows, and the elements of an array
    std::vector<unsigned char> bytes;
};

struct Column {
    std::string name;
    // Texts: the bytes of all of them, and where each one begins, and the last one ends.
    std::shared_ptr<Buffer> values;
    std::shared_ptr<Buffer> offsets;  // of texts; else null
    std::shared_ptr<Buffer> valid;    // a boolean a row: false where the object lacks the field
    std::size_t rows = 0;

    // Texts in fields of the same size, with zeros at their ends.
    std::shared_ptr<Buffer> fixed() const;
};

// In the order of the keys. A name is a field, or the path of one: "num_conns", "start.tv_sec"; of
// a table with a key structure the key's fields come first. "tenant" and "source" are the
// record's own, if no field has that name. Failure `no_field`.
std::vector<Column> columns_of(Table &table, const std::vector<std::string> &names,
                               const Choice &choice);

}  // namespace tarnbase::python

#endif
