// SPDX-License-Identifier: Apache-2.0
/// @file
/// Buffers for the text, XML and wire forms that the C calls write.
#ifndef TARNBASE_TARN_FORMS_HPP
#define TARNBASE_TARN_FORMS_HPP

#include <string>

#include "tarnbase/tarn/bytes.hpp"
#include "tarnbase/tarn/result.hpp"

namespace tarn {

/// Calls `write(buffer, size, &err)`, a C call that writes a form, with a buffer that grows until
/// the form fits: its length isn't known in advance. The buffer is filled with spaces, since
/// printing skips the indentation of closing braces.
/// Returns: the form. An error names `doing` and `item`.
template <typename Write>
result<std::string> text_form(const char *doing, const char *item, Write write) {
    constexpr std::size_t least = 1024;
    constexpr std::size_t most = std::size_t{1} << 30;
    for (std::size_t size = least;; size *= 4) {
        std::string text(size, ' ');
        std::uint32_t err = 0;
        const std::uint32_t length = write(&text[0], static_cast<std::uint32_t>(size), &err);
        if (err == 0) {
            text.resize(length);
            return text;
        }
        if (err != EMSGSIZE || size == most) return detail::make_error(err, doing, item);
    }
}

namespace detail {

/// Calls `write(buffer, length, &err)` with a buffer that has one spare byte: a handle that
/// tracks state may write there.
template <typename Write>
result<bytes> wire_form(std::uint32_t length, const char *item, Write write) {
    bytes wire(length + std::size_t{1});
    std::uint32_t err = 0;
    const std::uint32_t written = write(wire.data(), length, &err);
    if (err != 0) return make_error(err, "writing the wire form of", item);
    wire.resize(written);
    return wire;
}

}  // namespace detail
}  // namespace tarn

#endif
