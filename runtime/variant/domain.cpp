// SPDX-License-Identifier: Apache-2.0
#include "runtime/variant/domain.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "runtime/base/announce.h"
#include "runtime/variant/instance.h"

namespace tarnbase::runtime {

namespace {

using Luid = std::array<std::uint8_t, sizeof kel_type_info::luid>;

struct Choice {
    Luid luid;
    std::int8_t variant;
};

// In process memory, at `kel_variant_domain.choices`. A handle has few of them.
using Choices = std::vector<Choice>;

Luid luid_of(const kel_type_info &descriptor) {
    Luid luid;
    std::memcpy(luid.data(), descriptor.luid, luid.size());
    return luid;
}

template <typename List>
auto find(List &choices, const Luid &luid) {
    return std::find_if(choices.begin(), choices.end(),
                        [&](const Choice &choice) { return choice.luid == luid; });
}

std::int8_t highest_variant(const kel_type_info &descriptor) {
    const kel_variant_info *info = descriptor.variant_info;
    if (info == nullptr || info->variant_count < 1) return 0;
    return static_cast<std::int8_t>(info->variant_count - 1);
}

}  // namespace

std::int8_t domain_variant(const kel_variant_domain &domain, const kel_type_info *descriptor) {
    if (descriptor == nullptr) return 0;
    if (const auto *choices = static_cast<const Choices *>(domain.choices); choices != nullptr) {
        auto place = find(*choices, luid_of(*descriptor));
        if (place != choices->end()) return place->variant;
    }
    return highest_variant(*descriptor);
}

std::int32_t adjust_variant(kel_handle *handle, std::uint32_t tx_id, void *object,
                            const kel_type_info *descriptor, std::int32_t top_variant) {
    if (object == nullptr) return 0;
    std::int8_t &variant = header_of(object).variant;
    if (descriptor == nullptr) return variant;
    // An object's variant is never lowered: its fields of later variants have values.
    const std::int32_t wanted =
        std::min<std::int32_t>(domain_variant(handle->variant_domain, descriptor), top_variant);
    if (wanted > variant) {
        WriteLog{handle, tx_id}.set(variant, static_cast<std::int8_t>(wanted));
    }
    return variant;
}

void choose_variant(kel_variant_domain &domain, const kel_type_info &descriptor,
                    std::int8_t variant) {
    auto *choices = static_cast<Choices *>(domain.choices);
    if (choices == nullptr) domain.choices = choices = new Choices;
    const Luid luid = luid_of(descriptor);
    auto place = find(*choices, luid);
    if (place == choices->end()) {
        choices->push_back({luid, variant});
    } else {
        place->variant = variant;
    }
}

void clear_variant_choices(kel_variant_domain &domain) {
    delete static_cast<Choices *>(domain.choices);
    domain.choices = nullptr;
}

}  // namespace tarnbase::runtime
