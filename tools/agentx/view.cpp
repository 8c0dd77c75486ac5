// SPDX-License-Identifier: Apache-2.0
#include "agentx/view.h"

namespace agentx {

const tarnctl::Instance *View::instance(const tarnctl::Table &table, const std::string &name) {
    if (!instances_) {
        instances_.emplace();
        for (const tarnctl::Instance &each : tarnctl::instances(*store_))
            instances_->emplace(std::string(each.table->name) + " " + each.name(), each);
    }
    const auto found = instances_->find(std::string(table.name) + " " + name);
    return found == instances_->end() ? nullptr : &found->second;
}

std::optional<tarnctl::Record> View::find(const tarnctl::Table &table, const Place &place,
                                          const std::vector<std::string> &key) {
    if (!is_open()) return std::nullopt;
    const tarnctl::Instance *in = instance(table, place.table);
    if (in == nullptr) return std::nullopt;
    const tarnctl::Key made(table, key, scratch_);
    return tarnctl::record_at(*store_, *in, made, place.tenant, place.src);
}

}  // namespace agentx
