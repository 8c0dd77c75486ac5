// SPDX-License-Identifier: Apache-2.0
//
// The columns of a listing: fields of the records, and their tenant, source and pending mark.
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
    // A leading column identifies the record, and stays when others are left out.
    bool leads() const { return what != What::field || column->is_key; }
};

// The columns of these names: paths of fields (a structure means all its fields), tenant, source
// and pending, and `*` or `all` for all columns. Failure `usage` with a suggestion.
std::vector<ListingColumn> named_columns(const Table &table, const std::vector<std::string> &names);
// The column of a single value. Failure `usage` if the name means several.
ListingColumn single_column(const Table &table, const std::string &name);
// All fields, after the tenant and the source.
std::vector<ListingColumn> all_columns(const Table &table);
// All fields, after those of tenant, source and pending that aren't the usual 0, 1 and false in all
// records.
std::vector<ListingColumn> useful_columns(const Table &table, const std::vector<Record> &records);

// The reader of a cell: a person, for whom an array is "1440 values", or a program.
enum class Reader { person, program };
// A field that the record's variant lacks is "-" for a person, empty for a program.
std::string cell_text(const Record &record, const ListingColumn &column, Reader reader);
// In the form of model/json.h; null for such a field.
Json cell_json(const Record &record, const ListingColumn &column);
// Its value in a form that has an order. Requires: not a whole array.
Cell order_cell(const Record &record, const ListingColumn &column);

}  // namespace tarnctl

#endif
