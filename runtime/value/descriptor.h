/* SPDX-License-Identifier: Apache-2.0 */
// The descriptors of the value types that are objects. Their LUIDs are fixed: other builds
// identify the types by them.
#ifndef TARNBASE_RUNTIME_VALUE_DESCRIPTOR_H
#define TARNBASE_RUNTIME_VALUE_DESCRIPTOR_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "tarnbase/value.h"

namespace tarnbase::runtime {

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

// A value type that is an object. The file of each such type defines one, so that code without a
// schema finds them all.
class ValueType {
 public:
    explicit ValueType(const kel_type_info &descriptor) : descriptor_(descriptor), next_(newest_) {
        newest_ = this;
    }
    ValueType(const ValueType &) = delete;
    ValueType &operator=(const ValueType &) = delete;

    const kel_type_info &descriptor() const { return descriptor_; }

    // The first type, in no particular order, and the one after this; null at the end.
    static const ValueType *first() { return newest_; }
    const ValueType *next() const { return next_; }

 private:
    static inline constinit const ValueType *newest_ = nullptr;

    const kel_type_info &descriptor_;
    const ValueType *next_;
};

}  // namespace tarnbase::runtime

#endif
