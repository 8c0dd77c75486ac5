// SPDX-License-Identifier: Apache-2.0
#include "catalogue/catalogue.h"

#include <algorithm>
#include <cstring>

namespace tarnbase::catalogue {
namespace {

template <class Item>
const Item *by_name(std::span<const Item *const> items, std::string_view name) {
    const auto found = std::find_if(items.begin(), items.end(),
                                    [&](const Item *item) { return item->name == name; });
    return found == items.end() ? nullptr : *found;
}

// A store keeps copies of descriptors, so addresses differ; LUIDs do not.
template <class Item>
const Item *by_luid(std::span<const Item *const> items, const kel_type_info &descriptor) {
    const auto found = std::find_if(items.begin(), items.end(), [&](const Item *item) {
        return std::memcmp(item->descriptor->luid, descriptor.luid, sizeof descriptor.luid) == 0;
    });
    return found == items.end() ? nullptr : *found;
}

}  // namespace

const Field *Structure::find(std::string_view field) const {
    const auto found = std::find_if(fields.begin(), fields.end(),
                                    [&](const Field &each) { return each.name == field; });
    return found == fields.end() ? nullptr : &*found;
}

const Table *Catalogue::table(std::string_view name) const { return by_name(tables, name); }

const Structure *Catalogue::structure(std::string_view name) const {
    return by_name(structures, name);
}

const Enumeration *Catalogue::enumeration(std::string_view name) const {
    return by_name(enumerations, name);
}

const Table *Catalogue::table_of(const kel_type_info &descriptor) const {
    return by_luid(tables, descriptor);
}

const Structure *Catalogue::structure_of(const kel_type_info &descriptor) const {
    return by_luid(structures, descriptor);
}

}  // namespace tarnbase::catalogue
