// SPDX-License-Identifier: Apache-2.0
//
// One side of a comparison: a store with files, or an export that was read into memory.
#ifndef TARNCTL_COMPARE_SIDE_H
#define TARNCTL_COMPARE_SIDE_H

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "model/instance.h"
#include "model/store.h"

namespace tarnctl {

struct Side {
    std::string name;  // as the user wrote it
    Store store;
    bool has_files;  // false of an export that was read into memory

    // All records of an instance, in the index's order.
    std::vector<kel_record *> records_of(const Instance &instance) const;
};

// A store or an export as the user names it, and the moment of the store.
struct SideName {
    std::string path;
    std::optional<Moment> at;
};

// Opens two stores or exports. Two stores with the same address can't be mapped at once: one
// of them is read into memory. Of an export only the records of `tables` are read; none means all.
std::pair<Side, Side> open_sides(const SideName &a, const SideName &b,
                                 const std::vector<TableReference> &tables);

}  // namespace tarnctl

#endif
