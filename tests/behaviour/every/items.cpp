// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/every/items.h"

#include <map>
#include <stdexcept>

// No field has this type, so no structure refers to it.
#include "model/lumi_interface_peer_adv_capability.h"

namespace tarn::test {

namespace {

struct Items {
    std::map<std::string, const Structure *> structures;
    std::map<std::string, const Enumeration *> enumerations;

    void add(const Structure *type) {
        if (type == nullptr || !structures.emplace(type->name, type).second) return;
        for (const Field &field : fields_of(*type)) {
            add(field.structure);
            if (field.enumeration != nullptr) {
                enumerations.emplace(field.enumeration->name, field.enumeration);
            }
        }
    }
};

// The items that the tables refer to.
const Items &items() {
    static const Items found = [] {
        Items reached;
        for (const Table *each : all_tables()) {
            reached.add(each->type);
            reached.add(each->key_type);
        }
        const Enumeration *alone = &model::lumi_interface_peer_adv_capability;
        reached.enumerations.emplace(alone->name, alone);
        return reached;
    }();
    return found;
}

template <typename Item>
std::vector<const Item *> in_listed_order(const std::map<std::string, const Item *> &found) {
    std::vector<const Item *> listed;
    for (const kel_type_info *const *each = module.descriptors; *each != nullptr; ++each) {
        const auto item = found.find((*each)->name);
        if (item != found.end()) listed.push_back(item->second);
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

std::span<const Table *const> all_tables() { return {module.tables, module.table_count}; }

const Structure &structure(const std::string &name) { return *items().structures.at(name); }

const Enumeration &enumeration(const std::string &name) { return *items().enumerations.at(name); }

const Table &table(const std::string &name) {
    for (const Table *each : all_tables()) {
        if (each->name == name) return *each;
    }
    throw std::out_of_range("no table is called " + name);
}

}  // namespace tarn::test
