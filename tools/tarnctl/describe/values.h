// SPDX-License-Identifier: Apache-2.0
//
// The types that aren't the schema's but that its fields are made of.
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
    std::string_view text;            // as it is shown, and read on the command line
    const kel_type_info *descriptor;  // of those that are objects; else null
};

std::span<const ValueType> value_types();
// Null if there is none of this name.
const ValueType *value_type(std::string_view name);

}  // namespace tarnctl

#endif
