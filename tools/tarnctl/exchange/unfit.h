// SPDX-License-Identifier: Apache-2.0
//
// What a form can't represent whose texts are the characters of XML 1.0, as YANG's are too, and
// whose enumerations are names.
#ifndef TARNCTL_EXCHANGE_UNFIT_H
#define TARNCTL_EXCHANGE_UNFIT_H

#include <optional>
#include <string>
#include <string_view>

#include "model/record.h"

namespace tarnctl {

// The first field of a record with such a value, and why.
struct UnfitField {
    std::string name;
    std::string reason;
};
std::optional<UnfitField> unfit_field(const Record &record);

// "ldap: record `x`: sname: XML can't represent it: ...", with the names of a form and a table.
std::string objection_to(const Record &record, const UnfitField &field, std::string_view form,
                         std::string_view table);

}  // namespace tarnctl

#endif
