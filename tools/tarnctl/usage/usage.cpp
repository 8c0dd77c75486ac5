// SPDX-License-Identifier: Apache-2.0
#include "usage/usage.h"

#include <fmt/core.h>

#include <functional>

#include "base/failure.h"
#include "base/schema.h"
#include "model/value_type.h"

namespace tarnctl {
namespace {

using Visitor =
    std::function<void(std::string_view name, std::string_view kind, const kel_type_info &)>;

void for_each_descriptor(const Visitor &visit) {
    for (const Structure *each : catalogue.structures) visit(each->name, "type", *each->descriptor);
    for (const Enumeration *each : catalogue.enumerations)
        visit(each->name, "enum", *each->descriptor);
    for (const ValueType &each : value_types()) {
        if (each.descriptor != nullptr) visit(each.name, "value", *each.descriptor);
    }
    for (const Table *each : catalogue.tables) {
        visit(each->name, "table", *each->descriptor);
        visit(each->record_descriptor->name, "table_record", *each->record_descriptor);
    }
}

void add(std::vector<Usage> &usages, std::string_view name, std::string_view kind,
         const kel_variant_info &info) {
    for (int i = 0; i < info.variant_count; ++i) usages.push_back({name, kind, info.variants[i]});
}

// Other processes wrote the copy: its pointers are checked before they are followed.
const kel_variant_info &checked(const Store &store, const kel_type_info_copy &copy,
                                std::string_view name) {
    const kel_variant_info *info = copy.info.variant_info;
    const auto *end = reinterpret_cast<const char *>(info) + sizeof *info - 1;
    if (store.holds(&copy) && store.holds(info) && store.holds(end)) {
        const kel_variant_usage *last = info->variants + info->variant_count;
        if (info->variant_count > 0 && store.holds(info->variants) &&
            store.holds(reinterpret_cast<const char *>(last) - 1))
            return *info;
    }
    throw Failure(Exit::store,
                  fmt::format("{}: the store's descriptor of {} is damaged", store.path(), name));
}

}  // namespace

std::vector<Usage> usage_of_library() {
    std::vector<Usage> usages;
    for_each_descriptor(
        [&](std::string_view name, std::string_view kind, const kel_type_info &own) {
            add(usages, name, kind, *own.variant_info);
        });
    return usages;
}

std::vector<Usage> usage_of(const Store &store, std::size_t &unknown) {
    std::vector<Usage> usages;
    std::size_t known = 0;
    const kel_handle &handle = *store.handle();
    for_each_descriptor(
        [&](std::string_view name, std::string_view kind, const kel_type_info &own) {
            const kel_type_info_copy *copy =
                handle.type_map_lookup_hook(handle.type_map, KEL_TX_NONE, own.luid_text);
            if (copy == nullptr) return;
            ++known;
            add(usages, name, kind, checked(store, *copy, name));
        });
    const std::size_t all = store.describe().types;
    unknown = all > known ? all - known : 0;
    return usages;
}

}  // namespace tarnctl
