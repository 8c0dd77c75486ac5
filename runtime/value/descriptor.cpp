// SPDX-License-Identifier: Apache-2.0
// The descriptors of the value types that are objects. Their LUIDs are fixed: other builds
// identify the types by them.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "tarnbase/value.h"

static_assert(sizeof(kel_boolean) == 16 && offsetof(kel_boolean, value) == 12);
static_assert(sizeof(kel_vstring) == 32 && alignof(kel_vstring) == 8);
static_assert(offsetof(kel_vstring, borrowed) == 12 && offsetof(kel_vstring, length) == 16);
static_assert(offsetof(kel_vstring, text.bytes) == 20);
static_assert(offsetof(kel_vstring, text.outside.prefix) == 20);
static_assert(offsetof(kel_vstring, text.outside.block) == 24);
static_assert(sizeof(ip_address) == 32 && alignof(ip_address) == 8);
static_assert(offsetof(ip_address, family) == 11 && offsetof(ip_address, bytes) == 12);

namespace {

constexpr unsigned digit(char character) {
    return static_cast<unsigned>(character <= '9' ? character - '0' : character - 'a' + 10);
}

template <std::size_t Size>
constexpr void copy(char (&place)[Size], std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) place[i] = text[i];
}

constexpr kel_type_info describe(std::string_view name, std::string_view luid_text,
                                 kel_variant_info *variants) {
    kel_type_info descriptor{};
    descriptor.magic = KEL_TYPE_INFO_MAGIC;
    for (std::size_t i = 0; i < sizeof descriptor.luid; ++i) {
        descriptor.luid[i] =
            static_cast<std::uint8_t>(digit(luid_text[2 * i]) << 4 | digit(luid_text[2 * i + 1]));
    }
    copy(descriptor.luid_text, luid_text);
    copy(descriptor.name, name);
    copy(descriptor.module_name, "tarnbase-runtime");
    copy(descriptor.kind, "type");
    descriptor.type_slot = KEL_TYPE_SLOT_NONE;
    descriptor.variant_info = variants;
    return descriptor;
}

constinit kel_variant_usage boolean_usage{0, sizeof(kel_boolean), 0, 0, 0, 0};
constinit kel_variant_usage vstring_usage{0, sizeof(kel_vstring), 0, 0, 0, 0};
constinit kel_variant_usage address_usage{0, sizeof(ip_address), 0, 0, 0, 0};

constinit kel_variant_info boolean_variants{1, &boolean_usage};
constinit kel_variant_info vstring_variants{1, &vstring_usage};
constinit kel_variant_info address_variants{1, &address_usage};

}  // namespace

constinit const kel_type_info _kel_boolean_type_info_internal =
    describe("kel_boolean", "f586973e7aa62da19cf11b0abf111e89", &boolean_variants);
constinit const kel_type_info _kel_vstring_type_info_internal =
    describe("kel_vstring", "1f749f4cb9e4ccff4cd49782830975a4", &vstring_variants);
constinit const kel_type_info _ip_address_type_info_internal =
    describe("ip_address", "52622b99f3e935c725d7aacbd0ccd846", &address_variants);
