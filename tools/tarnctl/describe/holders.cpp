// SPDX-License-Identifier: Apache-2.0
#include "describe/holders.h"

#include <algorithm>

namespace tarnctl {
namespace {

bool holds(const Structure &structure, std::string_view type) {
    return structure.name == type ||
           std::any_of(structure.fields.begin(), structure.fields.end(), [&](const Field &field) {
               return field.type == type ||
                      (field.structure != nullptr && holds(*field.structure, type));
           });
}

}  // namespace

std::vector<const Table *> tables_with(std::string_view type) {
    std::vector<const Table *> tables;
    for (const Table *table : catalogue.tables) {
        if (holds(*table->type, type) ||
            (table->key_type != nullptr && holds(*table->key_type, type)))
            tables.push_back(table);
    }
    return tables;
}

std::vector<FieldOf> fields_of_type(std::string_view type) {
    std::vector<FieldOf> fields;
    for (const Structure *structure : catalogue.structures) {
        for (const Field &field : structure->fields) {
            if (field.type == type) fields.push_back({structure, &field});
        }
    }
    return fields;
}

}  // namespace tarnctl
