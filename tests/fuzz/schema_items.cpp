// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/schema_items.h"

#include <map>
#include <string_view>

// No field has this type, so no structure refers to it.
#include "model/lumi_interface_peer_adv_capability.h"

namespace tarnbase::fuzz {

namespace {

struct Items {
    std::map<std::string_view, const Structure *> structures;
    std::map<std::string_view, const Enumeration *> enumerations;

    void add(const Structure *type) {
        if (type == nullptr || !structures.emplace(type->name, type).second) return;
        for (const Field &field : fields_of(*type)) {
            add(field.structure);
            if (field.enumeration != nullptr) add(*field.enumeration);
        }
    }
    void add(const Enumeration &type) { enumerations.emplace(type.name, &type); }
};

const Items &items() {
    static const Items found = [] {
        Items reached;
        for (const Table *table : all_tables()) {
            reached.add(table->type);
            reached.add(table->key_type);
        }
        reached.add(model::lumi_interface_peer_adv_capability);
        return reached;
    }();
    return found;
}

template <typename Item>
std::vector<const Item *> in_listed_order(const std::map<std::string_view, const Item *> &found) {
    std::vector<const Item *> listed;
    for (const kel_type_info *const *each = module.descriptors; *each != nullptr; ++each) {
        if (const auto item = found.find((*each)->name); item != found.end()) {
            listed.push_back(item->second);
        }
    }
    return listed;
}

}  // namespace

const std::vector<const Structure *> &all_structures() {
    static const auto listed = in_listed_order(items().structures);
    return listed;
}

const std::vector<const Enumeration *> &all_enumerations() {
    static const auto listed = in_listed_order(items().enumerations);
    return listed;
}

}  // namespace tarnbase::fuzz
