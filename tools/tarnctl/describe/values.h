// SPDX-License-Identifier: Apache-2.0
//
// The value types of fields, which aren't items of the schema.
#ifndef TARNCTL_DESCRIBE_VALUES_H
#define TARNCTL_DESCRIBE_VALUES_H

#include <span>
#include <string_view>

#include "tarnbase/descriptor.h"

namespace tarnctl {

struct ValueType {
    std::string_view name;
    std::string_view meaning;
    std::string_view wire;
    std::string_view order;
    std::string_view text;            // its form on the command line and in output
    const kel_type_info *descriptor;  // null of a type that isn't an object
};

std::span<const ValueType> value_types();
// Null if there is no such type.
const ValueType *value_type(std::string_view name);

}  // namespace tarnctl

#endif
