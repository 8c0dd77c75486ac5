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
    const KindFacts &facts = field.facts();
    if (field.kind == FieldKind::array)
        return {facts.size * field.elements, facts.alignment, facts.state + field.elements};
    if (field.kind == FieldKind::structure)
        return {field.structure->plain_size, facts.alignment,
                facts.state + field.structure->state_length};
    return {facts.size, facts.alignment, facts.state};
}

std::uint32_t round_up(std::uint32_t value, std::uint32_t alignment) {
    return (value + alignment - 1) / alignment * alignment;
}

bool continues_run(const Field &field, const Field &next) {
    return tarnbase::is_number(field.kind) && next.kind == field.kind &&
           next.first_variant == field.first_variant && next.offset == field.offset + field.size;
}

// Backwards: a field begins a run one longer than the next field does.
void find_runs(std::vector<Field> &fields) {
    for (std::size_t i = fields.size(); i-- > 1;) {
        if (continues_run(fields[i - 1], fields[i])) fields[i - 1].run = fields[i].run + 1;
    }
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
    find_runs(structure.fields);
    structure.state_length = state;
    structure.plain_size = round_up(used, object_alignment) + (used <= 64 ? 8 : 16);
}

}  // namespace tarnc
