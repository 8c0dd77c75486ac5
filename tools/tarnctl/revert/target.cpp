// SPDX-License-Identifier: Apache-2.0
#include "revert/target.h"

#include <vector>

#include "tarnbase/tarn/tenant.hpp"

namespace tarnctl {
namespace {

std::vector<std::string> key_of(const RecordCopy &record) {
    std::vector<std::string> key;
    for (std::size_t i = 0; i < record.columns().size() && record.columns()[i].is_key; ++i)
        key.push_back(record.text(i));
    return key;
}

}  // namespace

std::optional<Instance> instance_named(const Store &store, const std::string &name) {
    for (const Instance &each : instances(store)) {
        if (each.full_name() == name) return each;
    }
    return std::nullopt;
}

Record find_target(const Store &store, const Instance &instance, const RecordCopy &record,
                   const Store &scratch) {
    const tarn::tenant_scope tenant(record.tenant());
    const Key key(*instance.table, key_of(record), scratch);
    return find_record(store, instance, key, record.src());
}

}  // namespace tarnctl
