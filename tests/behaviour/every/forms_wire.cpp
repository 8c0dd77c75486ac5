// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cerrno>

#include "tarnbase/object.h"
#include "tests/behaviour/every/forms.h"
#include "tests/behaviour/every/values.h"

namespace tarn::test {

namespace {

constexpr u32 no_space = EMSGSIZE, no_object = ENOMEM;

u32 integer_length(FieldKind kind) {
    switch (kind) {
        case FieldKind::u_int8:
        case FieldKind::boolean:
            return 1;
        case FieldKind::u_int16:
            return 2;
        case FieldKind::u_int32:
        case FieldKind::int32:
            return 4;
        default:
            return 8;
    }
}

u32 address_length(u64 family) { return family == 0 ? 0 : (family == 4 ? 4 : 16); }

std::vector<u8> little(u64 value, u32 length) {
    std::vector<u8> bytes;
    for (u32 i = 0; i < length; ++i) bytes.push_back(static_cast<u8>(value >> (8 * i)));
    return bytes;
}

}  // namespace

Filled Filled::inside(const Field &field) const {
    return {*field.structure, seed_inside(field, seed), field.structure->top_variant,
            block == nullptr ? nullptr : block + field.state + 1};
}

// ---- Writing ------------------------------------------------------------------------

u32 WireForm::put_item(const void *item, std::size_t length) {
    if (err != 0) return 0;
    if (space_ - bytes.size() < length) {
        err = no_space;
        return 0;
    }
    const auto *first = static_cast<const u8 *>(item);
    bytes.insert(bytes.end(), first, first + length);
    return static_cast<u32>(length);
}

u32 WireForm::put(u64 value, u32 length) { return put_item(little(value, length).data(), length); }

// After an error too, while there is space.
void WireForm::put_state(u8 flag) {
    if (bytes.size() < space_) bytes.push_back(flag);
}

// An object of any kind needs at least one byte.
bool WireForm::opened() {
    if (err == 0 && bytes.size() >= space_) err = no_object;
    return err == 0;
}

void WireForm::field(const Filled &filled, const Field &field) {
    if (field.kind == FieldKind::structure) {
        object(filled.inside(field));
    } else if (field.kind == FieldKind::array) {
        for (const u8 element : array_value(field, filled.seed)) put(element, 1);
    } else if (field.kind == FieldKind::enumeration) {
        if (!opened()) return;
        put(0, 1);
        put(plain_value(field, filled.seed) - field.enumeration->first_user_value, 4);
    } else if (field.kind == FieldKind::vstring) {
        const std::string text = text_value(field, filled.seed);
        std::vector<u8> item = little(text.size(), 4);
        item.insert(item.end(), text.begin(), text.end());
        put_item(item.data(), item.size());
    } else if (field.kind == FieldKind::address) {
        const ip_address address = address_value(field, filled.seed);
        std::vector<u8> item = {address.family};
        item.insert(item.end(), address.bytes, address.bytes + address_length(address.family));
        put_item(item.data(), item.size());
    } else {
        put(plain_value(field, filled.seed), integer_length(field.kind));
    }
}

void WireForm::states(const Filled &filled, const Field &field) {
    if (filled.block == nullptr) return;
    put_state(filled.block[field.state]);
    for (u32 i = 0; i < field.elements; ++i) put_state(filled.block[field.state + 1 + i]);
}

void WireForm::object(const Filled &filled) {
    if (!opened()) return;
    put(static_cast<u64>(filled.variant), 1);
    put(filled.block == nullptr ? 0 : OBJ_STATE_TRACKED, 1);
    const std::size_t jump = bytes.size();
    const bool reserved = put(0, 4) != 0;
    for (u32 i = 0; i < filled.type.field_count; ++i) {
        const Field &each = filled.type.fields[i];
        if (each.first_variant > filled.variant) break;
        edges.push_back(static_cast<u32>(bytes.size()));
        field(filled, each);
        edges.push_back(static_cast<u32>(bytes.size()));
        states(filled, each);
    }
    if (!reserved || !jumps) return;
    const auto length = little(bytes.size() - jump, 4);
    std::copy(length.begin(), length.end(), bytes.begin() + static_cast<std::ptrdiff_t>(jump));
}

// ---- Reading ------------------------------------------------------------------------

u32 WireReading::remaining() const {
    return cursor < bytes_.size() ? static_cast<u32>(bytes_.size()) - cursor : 0;
}

bool WireReading::take(u32 length, u64 *value) {
    if (err != 0) return false;
    if (remaining() < length) {
        err = no_space;
        return false;
    }
    for (u32 i = 0; value != nullptr && i < length; ++i) {
        *value |= u64{bytes_[cursor + i]} << (8 * i);
    }
    cursor += length;
    return true;
}

void WireReading::take_state(bool on_wire, u32 position) {
    if (!on_wire || remaining() == 0) return;
    if (block_ != nullptr) block_[position] = bytes_[cursor];
    ++cursor;
}

bool WireReading::opened() {
    if (err == 0 && remaining() == 0) err = no_object;
    return err == 0;
}

u32 WireReading::field(const Field &field, u32 state, const std::string &path) {
    if (field.kind == FieldKind::structure) {
        object(*field.structure, state + 1, path + "/");
        return 0;
    }
    if (field.kind == FieldKind::array) {
        u32 elements = 0;
        while (elements < field.elements && take(1)) ++elements;
        return elements;
    }
    if (field.kind == FieldKind::enumeration) return opened() && take(1) && take(4) ? 1 : 0;
    if (field.kind != FieldKind::vstring && field.kind != FieldKind::address) {
        return take(integer_length(field.kind)) ? 1 : 0;
    }
    // All of it, or nothing.
    const u32 before = cursor;
    u64 head = 0;
    const bool is_string = field.kind == FieldKind::vstring;
    if (take(is_string ? 4 : 1, &head) &&
        take(is_string ? static_cast<u32>(head) : address_length(head))) {
        return 1;
    }
    cursor = before;
    return 0;
}

void WireReading::object(const Structure &type, u32 state, const std::string &path) {
    if (!opened()) return;
    u64 variant = 0, flags = 0, jump = 0;
    take(1, &variant);
    take(1, &flags);
    const u32 jump_base = cursor;
    take(4, &jump);
    for (u32 i = 0; i < type.field_count; ++i) {
        const Field &each = type.fields[i];
        if (each.first_variant > static_cast<int>(variant)) break;
        const std::string here = path + each.name;
        read[here] = field(each, state + each.state, here);
        for (u32 k = 0; k <= each.elements; ++k) {
            take_state((flags & OBJ_STATE_TRACKED) != 0, state + each.state + k);
        }
    }
    cursor = std::max(cursor, jump_base + static_cast<u32>(jump));
}

}  // namespace tarn::test
