// SPDX-License-Identifier: Apache-2.0
#include "runtime/variant/domain.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <new>
#include <vector>

#include "runtime/base/error_text.h"
#include "runtime/base/errors.h"
#include "tarnbase/embedded.h"

namespace {

using Luid = std::array<std::uint8_t, sizeof kel_type_info::luid>;

struct Choice {
    Luid luid;
    std::int8_t variant;
};

// Process memory behind `kel_variant_domain.choices`. A handle has few of them.
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

void choose(kel_variant_domain &domain, const Luid &luid, std::int8_t variant) {
    auto *choices = static_cast<Choices *>(domain.choices);
    if (choices == nullptr) domain.choices = choices = new Choices;
    auto place = find(*choices, luid);
    if (place == choices->end()) {
        choices->push_back({luid, variant});
    } else {
        place->variant = variant;
    }
}

}  // namespace

namespace tarn::runtime {

std::int8_t domain_variant(const kel_variant_domain &domain, const kel_type_info *descriptor) {
    if (descriptor == nullptr) return 0;
    if (const auto *choices = static_cast<const Choices *>(domain.choices); choices != nullptr) {
        auto place = find(*choices, luid_of(*descriptor));
        if (place != choices->end()) return place->variant;
    }
    return highest_variant(*descriptor);
}

void clear_variant_choices(kel_variant_domain *domain) {
    delete static_cast<Choices *>(domain->choices);
    domain->choices = nullptr;
}

}  // namespace tarn::runtime

std::uint32_t kel_domain_lookup_variant(kel_handle *, kel_variant_domain *domain,
                                        const kel_type_info *descriptor, std::uint32_t *) {
    return static_cast<std::uint8_t>(tarn::runtime::domain_variant(*domain, descriptor));
}

std::uint32_t kel_handle_set_variant(kel_handle *handle, const kel_type_info *descriptor,
                                     std::int8_t variant) {
    if (descriptor == nullptr) {
        return tarn::runtime::fail(EINVAL, "kel_handle_set_variant: the descriptor is null");
    }
    try {
        choose(handle->variant_domain, luid_of(*descriptor), variant);
    } catch (const std::bad_alloc &) {
        return tarn::runtime::fail(ENOMEM, "kel_handle_set_variant: no memory");
    }
    return 0;
}
