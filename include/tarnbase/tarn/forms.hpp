// SPDX-License-Identifier: Apache-2.0
/// @file
/// Buffers for the text, XML and wire forms, whose writers are the C calls.
#ifndef TARNBASE_TARN_FORMS_HPP
#define TARNBASE_TARN_FORMS_HPP

#include <string>

#include "tarnbase/tarn/bytes.hpp"
#include "tarnbase/tarn/result.hpp"

namespace tarn::detail {

/// Gives `write(buffer, room, &err)` a buffer that grows until the text fits: nothing
/// tells the length before. It is full of blanks, since printing steps over the
/// indentation of closing braces.
template <typename Write>
result<std::string> text_form(const char *doing, const char *item, Write write) {
    constexpr std::size_t least = 1024;
    constexpr std::size_t most = std::size_t{1} << 30;
    for (std::size_t room = least;; room *= 4) {
        std::string text(room, ' ');
        std::uint32_t err = 0;
        const std::uint32_t length = write(&text[0], static_cast<std::uint32_t>(room), &err);
        if (err == 0) {
            text.resize(length);
            return text;
        }
        if (err != EMSGSIZE || room == most) return make_error(err, doing, item);
    }
}

/// Gives `write(buffer, room, &err)` a buffer of `length` bytes, and one that it isn't
/// told of: a handle that tracks state may touch it.
template <typename Write>
result<bytes> wire_form(std::uint32_t length, const char *item, Write write) {
    bytes wire(length + std::size_t{1});
    std::uint32_t err = 0;
    const std::uint32_t written = write(wire.data(), length, &err);
    if (err != 0) return make_error(err, "writing the wire form of", item);
    wire.resize(written);
    return wire;
}

}  // namespace tarn::detail

#endif
