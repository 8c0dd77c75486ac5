// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/every/values.h"

namespace tarn::test {

namespace {

// A small mixing function: any deterministic one works.
u64 mix(const char *name, u64 seed) {
    u64 state = seed * 0x9e3779b97f4a7c15U + 1;
    for (; *name != '\0'; ++name) {
        state = (state ^ static_cast<u8>(*name)) * 0x100000001b3U;
        state ^= state >> 29;
    }
    return state;
}

template <typename T>
u64 as(u64 word) {
    return static_cast<u64>(static_cast<T>(word));
}

}  // namespace

u32 seed_inside(const Field &field, u32 seed) { return static_cast<u32>(mix(field.name, seed)); }

u64 narrowed(FieldKind kind, u64 word) {
    switch (kind) {
        case FieldKind::u_int8:
            return as<u8>(word);
        case FieldKind::u_int16:
            return as<u16>(word);
        case FieldKind::int32:
            return as<std::int32_t>(word);
        case FieldKind::u_int64:
        case FieldKind::int64:
            return word;
        default:
            return as<u32>(word);
    }
}

u32 plain_width(FieldKind kind) {
    switch (kind) {
        case FieldKind::u_int8:
            return 1;
        case FieldKind::u_int16:
            return 2;
        case FieldKind::u_int64:
        case FieldKind::int64:
            return 8;
        default:
            return 4;
    }
}

u64 plain_value(const Field &field, u32 seed) {
    const u64 word = mix(field.name, seed);
    if (field.kind == FieldKind::boolean) return word & 1U;
    if (field.kind == FieldKind::enumeration) {
        return field.enumeration->first_user_value + word % field.enumeration->count;
    }
    return narrowed(field.kind, word);
}

// Some are inside the string, others in a block; all contain characters that XML escapes.
std::string text_value(const Field &field, u32 seed) {
    const u64 word = mix(field.name, seed);
    std::string text = "<" + std::to_string(word % 10000) + "&";
    if (word % 2 == 0)
        text += std::string(field.name) + " of \"" + std::to_string(word) + "\" > 'a'";
    return text;
}

ip_address address_value(const Field &field, u32 seed) {
    const u64 words[] = {mix(field.name, seed), mix(field.name, seed + 1)};
    ip_address address;
    ip_address_refer(&address, seed % 2 == 0 ? KEL_ADDRESS_IPV4 : KEL_ADDRESS_IPV6, words);
    return address;
}

std::array<u8, minutes> array_value(const Field &field, u32 seed) {
    std::array<u8, minutes> elements;
    for (u32 i = 0; i < minutes; ++i) elements[i] = static_cast<u8>(mix(field.name, seed + i));
    return elements;
}

}  // namespace tarn::test
