// SPDX-License-Identifier: Apache-2.0
// Describes the order of each table's index to the runtime when the library is loaded, if the
// runtime has the service.
#include <array>
#include <cstddef>

#include "frame/optional_services.h"
#include "frame/schema.h"
#include "tarnbase/key_order.h"

namespace tarnbase::table {

namespace {

using Describe = decltype(&kel_index_describe_order);

// The parts of a key. Those that don't fit are described as unknown.
struct Parts {
    std::array<kel_key_part, 16> parts;
    std::uint32_t count = 0;

    void add(const kel_key_part &part) {
        if (count < parts.size()) {
            parts[count++] = part;
        } else {
            parts.back().kind = KEL_KEY_OTHER;
        }
    }
};

std::uint32_t part_kind(const Field &field) {
    if (is_number(field.kind)) return is_signed(field.kind) ? KEL_KEY_SIGNED : KEL_KEY_UNSIGNED;
    switch (field.kind) {
        case FieldKind::vstring:
            return KEL_KEY_TEXT;
        case FieldKind::address:
            return KEL_KEY_ADDRESS;
        case FieldKind::array:
            return KEL_KEY_BYTES;
        default:
            return KEL_KEY_OTHER;
    }
}

void add_parts(Parts &parts, const Field &field, std::uint32_t start) {
    if (field.kind == FieldKind::structure) {
        for (std::uint32_t i = 0; i < field.structure->field_count; ++i) {
            add_parts(parts, field.structure->fields[i], start + field.offset);
        }
        return;
    }
    const std::uint32_t size =
        field.kind == FieldKind::array ? field.elements : facts_of(field.kind).size;
    parts.add({part_kind(field), start + field.offset, size});
}

void describe(Describe describe_order, const Table &table, const Parts &parts) {
    const kel_key_order order = {.size = sizeof(kel_key_order),
                                 .in_key_object = table.key_type != nullptr,
                                 .compare = table.compare,
                                 .parts = parts.parts.data(),
                                 .part_count = parts.count,
                                 .compare_text = kel_vstring_compare,
                                 .compare_address = ip_address_compare};
    describe_order(&order);
}

Describe service() {
    return reinterpret_cast<Describe>(find_optional_service("kel_index_describe_order"));
}

__attribute__((constructor)) void describe_all() {
    const Describe describe_order = service();
    if (describe_order == nullptr) return;
    for (std::uint32_t i = 0; i < module.table_count; ++i) {
        Parts parts;
        add_parts(parts, *module.tables[i]->key, 0);
        describe(describe_order, *module.tables[i], parts);
    }
}

__attribute__((destructor)) void forget_all() {
    const Describe describe_order = service();
    if (describe_order == nullptr) return;
    for (std::uint32_t i = 0; i < module.table_count; ++i) {
        describe(describe_order, *module.tables[i], {});
    }
}

}  // namespace

}  // namespace tarnbase::table
