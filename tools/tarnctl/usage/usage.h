// SPDX-License-Identifier: Apache-2.0
//
// How many objects, tables and records of each kind were made and destroyed: the counters in the
// descriptors, a set for each variant.
#ifndef TARNCTL_USAGE_USAGE_H
#define TARNCTL_USAGE_USAGE_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "model/store.h"

namespace tarnctl {

struct Usage {
    std::string_view name;  // of the item
    std::string_view kind;  // "type", "enum", "value", "table" or "table_record"
    kel_variant_usage variant;

    bool is_used() const { return variant.created != 0 || variant.destroyed != 0; }
};

// The counters of the library's own descriptors, in the order of the catalogue.
std::vector<Usage> usage_of_library();
// The counters of the store's descriptors, of items in the catalogue; the others are counted
// through `unknown`. Failure `store` if a pointer in one of them leads out of the store.
std::vector<Usage> usage_of(const Store &store, std::size_t &unknown);

}  // namespace tarnctl

#endif
