// SPDX-License-Identifier: Apache-2.0
#include "layout.h"

namespace tarnc {
namespace {

constexpr std::uint32_t header_size = 11;
constexpr std::uint32_t object_alignment = 8;

struct Extent {
    std::uint32_t size;
    std::uint32_t alignment;
    std::uint32_t state;
};

Extent extent_of(const Field &field) {
    switch (field.kind) {
        case FieldKind::array:
            return {field.elements, 1, 1 + field.elements};
        case FieldKind::enumeration:
            return {16, object_alignment, 1};
        case FieldKind::structure:
            return {field.structure->plain_size, object_alignment,
                    1 + field.structure->state_length};
        default:
            return {field.built_in->size, field.built_in->alignment, field.built_in->state};
    }
}

std::uint32_t round_up(std::uint32_t value, std::uint32_t alignment) {
    return (value + alignment - 1) / alignment * alignment;
}

}  // namespace

void lay_out(Structure &structure) {
    std::uint32_t used = header_size;
    std::uint32_t state = 0;
    for (Field &field : structure.fields) {
        const Extent extent = extent_of(field);
        field.offset = round_up(used, extent.alignment);
        field.size = extent.size;
        field.state = state;
        used = field.offset + extent.size;
        state += extent.state;
        for (int v = field.first_variant; v <= structure.top_variant(); ++v)
            structure.variants[static_cast<std::size_t>(v)].used = used;
    }
    structure.state_length = state;
    structure.plain_size = round_up(used, object_alignment) + (used <= 64 ? 8 : 16);
}

}  // namespace tarnc
