// SPDX-License-Identifier: Apache-2.0
//
// The columns of a listing: fields of the records, and what a record is beside its fields.
#ifndef TARNCTL_LISTING_COLUMNS_H
#define TARNCTL_LISTING_COLUMNS_H

#include <optional>
#include <string>
#include <vector>

#include "model/json.h"
#include "model/record.h"
#include "query/cell.h"

namespace tarnctl {

struct ListingColumn {
    enum class What { tenant, source, pending, field };

    What what;
    std::optional<Column> column;  // of a field

    std::string title() const;
    bool is_number() const;
    // A leading column stays when others have to go: it tells which record a line is about.
    bool leads() const { return what != What::field || column->is_key; }
};

// The columns of these names: paths of fields, where a structure stands for all that it holds,
// tenant, source and pending, and `*` or `all` for all columns. Failure `usage` with a suggestion.
std::vector<ListingColumn> named_columns(const Table &table, const std::vector<std::string> &names);
// The column of a single value. Failure `usage` if the name stands for several.
ListingColumn single_column(const Table &table, const std::string &name);
// All fields, after the tenant and the source.
std::vector<ListingColumn> all_columns(const Table &table);
// All fields, after those of tenant, source and pending that tell the records apart.
std::vector<ListingColumn> telling_columns(const Table &table, const std::vector<Record> &records);

// How a cell is read: by a person, who gets "1440 values" for an array, or by a program.
enum class Reader { person, program };
// A field that the record's variant is too old to have is "-" for a person, empty for a program.
std::string cell_text(const Record &record, const ListingColumn &column, Reader reader);
// As model/json.h has it; null for such a field.
Json cell_json(const Record &record, const ListingColumn &column);
// Its place in an order. Not of a whole array.
Cell order_cell(const Record &record, const ListingColumn &column);

}  // namespace tarnctl

#endif
