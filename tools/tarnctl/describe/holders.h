// SPDX-License-Identifier: Apache-2.0
//
// Where a type is used: in which tables' records, and by which fields.
#ifndef TARNCTL_DESCRIBE_HOLDERS_H
#define TARNCTL_DESCRIBE_HOLDERS_H

#include <string_view>
#include <vector>

#include "base/schema.h"

namespace tarnctl {

// The tables whose records or keys are of this type, or hold it at any depth.
std::vector<const Table *> tables_with(std::string_view type);

struct FieldOf {
    const Structure *structure;
    const Field *field;
};
// The fields of this type, in the order of the catalogue.
std::vector<FieldOf> fields_of_type(std::string_view type);

}  // namespace tarnctl

#endif
