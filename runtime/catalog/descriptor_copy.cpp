// SPDX-License-Identifier: Apache-2.0
#include "runtime/catalog/descriptor_copy.h"

#include "runtime/base/announce.h"

namespace tarnbase::runtime {

namespace {

template <typename T>
T *allocate(kel_handle *handle, std::uint64_t count) {
    return static_cast<T *>(
        handle->type_alloc_hook(handle->type_arena, KEL_TX_NONE, count * sizeof(T)));
}

// Usage records for all variants of `constant`: the counters are those of `known`, or zero.
// Null: no memory. The counters of `constant` are not read, since other threads change
// them.
kel_variant_usage *make_usage(kel_handle *handle, const kel_variant_info &constant,
                              const kel_variant_info &known) {
    const auto count = static_cast<std::uint64_t>(constant.variant_count);
    auto *usage = allocate<kel_variant_usage>(handle, count);
    if (usage == nullptr) return nullptr;
    for (std::uint64_t i = 0; i < count; ++i) {
        const kel_variant_usage &from = constant.variants[i];
        usage[i] = {from.variant, from.used_length, from.alloc_slop, 0, 0, 0};
    }
    for (int i = 0; i < known.variant_count; ++i) usage[i] = known.variants[i];
    return usage;
}

// Null: no memory. The copy is then unused until the next attempt.
kel_variant_info *make_variant_info(kel_handle *handle, const kel_variant_info &constant) {
    auto *info = allocate<kel_variant_info>(handle, 1);
    if (info == nullptr) return nullptr;
    *info = {};
    info->variants = make_usage(handle, constant, *info);
    if (info->variants == nullptr) {
        handle->free_hook(handle->type_arena, KEL_TX_NONE, info);
        return nullptr;
    }
    info->variant_count = constant.variant_count;
    return info;
}

void add_variants(kel_handle *handle, kel_variant_info &info, const kel_variant_info &constant) {
    // The old records stay: the log of an open transaction may refer to their counters.
    kel_variant_usage *usage = make_usage(handle, constant, info);
    if (usage == nullptr) return;
    const WriteLog log{handle, KEL_TX_NONE};
    log.set(info.variants, usage);
    log.set(info.variant_count, constant.variant_count);
}

}  // namespace

const kel_type_info *descriptor_copy(kel_handle *handle, std::uint32_t tx_id,
                                     const kel_type_info *constant,
                                     kel_type_info_initializer initializer) {
    const auto copy_of = [&]() -> const kel_type_info * {
        const kel_type_info_copy *copy =
            handle->type_map_lookup_hook(handle->type_map, tx_id, constant->luid_text);
        return copy != nullptr && copy->info.variant_info != nullptr ? &copy->info : nullptr;
    };
    if (const kel_type_info *copy = copy_of()) return copy;
    if (initializer != nullptr) {
        std::uint32_t error = 0;
        initializer(handle, tx_id, &error);
        if (const kel_type_info *copy = copy_of()) return copy;
    }
    return constant;
}

void update_variants(kel_handle *handle, kel_type_info_copy *copy, const kel_type_info *constant,
                     bool is_new) {
    kel_variant_info *&info = copy->info.variant_info;
    const kel_variant_info &known = *constant->variant_info;
    if (is_new || info == nullptr) {
        WriteLog{handle, KEL_TX_NONE}.set(info, make_variant_info(handle, known));
    } else if (info->variant_count < known.variant_count) {
        add_variants(handle, *info, known);
    }
}

}  // namespace tarnbase::runtime
