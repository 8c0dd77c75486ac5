// SPDX-License-Identifier: Apache-2.0
// The head of an object's form, as wire.cpp describes it, if it has no flags: a variant, a byte of
// zero and a jump. It may be written and read without the services of its items if these are those
// of the runtime whose operations on pieces the library uses.
#ifndef TARNBASE_OBJECT_HEAD_H
#define TARNBASE_OBJECT_HEAD_H

#include <cstdint>

#include "frame/cursor.h"
#include "object/runs.h"

namespace tarnbase::object {

inline constexpr std::uint32_t flags_offset = 1;
inline constexpr std::uint32_t jump_offset = 2;
inline constexpr std::uint32_t jump_length = 4;
inline constexpr std::uint32_t head_length = jump_offset + jump_length;

// A jump is little-endian.
inline void store_jump(char *at, std::uint32_t jump) {
    for (unsigned i = 0; i < jump_length; ++i) at[i] = static_cast<char>(jump >> 8 * i);
}
inline std::uint32_t load_jump(const char *at) {
    std::uint32_t jump = 0;
    for (unsigned i = 0; i < jump_length; ++i)
        jump |= std::uint32_t{static_cast<std::uint8_t>(at[i])} << 8 * i;
    return jump;
}

// All but the jump.
inline void store_head(char *at, std::int8_t variant) {
    at[0] = static_cast<char>(variant);
    at[flags_offset] = 0;
}

inline bool may_write_head(const Output &out) {
    return piece_operations.marshal != nullptr && out.remaining() >= head_length;
}
inline bool has_plain_head(const Input &in) {
    return piece_operations.unmarshal != nullptr && in.remaining() >= head_length &&
           in.at()[flags_offset] == 0;
}

}  // namespace tarnbase::object

#endif
