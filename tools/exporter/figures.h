// SPDX-License-Identifier: Apache-2.0
//
// The figures of a table's records, as the schema describes them, under the names that they have
// as metrics. Nothing here depends on a store.
#ifndef TOOLS_EXPORTER_FIGURES_H
#define TOOLS_EXPORTER_FIGURES_H

#include <string>
#include <string_view>
#include <vector>

#include "model/record.h"

namespace exporter {

// A field whose value is a label.
struct LabelField {
    std::string name;
    tarnctl::Column column;
};

struct Figure {
    std::string name;  // "tarnbase_ldap_stats_bind_success_total"
    std::string help;
    bool is_counter;
    double scale;  // the metric's value for 1 in the field
    tarnctl::Column column;
};

struct TableFigures {
    const tarnctl::Table *table;
    std::vector<LabelField> key;
    std::vector<Figure> figures;
    std::string info_name;         // of the series with the record's labels
    std::vector<LabelField> info;  // none: there is no such series

    std::size_t series_per_record() const { return figures.size() + (info.empty() ? 0 : 1); }
};

// The labels that a record has before those of its key.
inline constexpr std::string_view place_labels[] = {"store", "table", "tenant", "source"};

TableFigures figures_of(const tarnctl::Table &table);
// Of all tables, in the order of the catalogue.
const std::vector<TableFigures> &figures_of_schema();

// "lumPacInfoEntry_op" as "lum_pac_info_entry_op".
std::string lower_words(std::string_view name);

}  // namespace exporter

#endif
