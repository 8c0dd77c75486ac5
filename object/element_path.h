/* SPDX-License-Identifier: Apache-2.0 */
// The paths of the elements inside another one. A longer path than the area is cut.
#ifndef TARNBASE_OBJECT_ELEMENT_PATH_H
#define TARNBASE_OBJECT_ELEMENT_PATH_H

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace tarnbase {

class ElementPath {
 public:
    // Null is "(null)", as in a formatted text.
    explicit ElementPath(const char *outer)
        : outer_length_(append(0, outer == nullptr ? "(null)" : outer)) {}

    // "outer/name". Valid until the next call, as is that of at_index.
    const char *at_name(std::string_view name) {
        return finish(append(append(outer_length_, "/"), name));
    }
    // "outer[index]"
    const char *at_index(std::uint32_t index) {
        char digits[10];
        const char *const end = std::to_chars(digits, digits + sizeof digits, index).ptr;
        const std::string_view number(digits, static_cast<std::size_t>(end - digits));
        return finish(append(append(append(outer_length_, "["), number), "]"));
    }

 private:
    std::size_t append(std::size_t length, std::string_view text) {
        const std::size_t fits = std::min(text.size(), sizeof text_ - 1 - length);
        std::memcpy(text_ + length, text.data(), fits);
        return length + fits;
    }
    const char *finish(std::size_t length) {
        text_[length] = '\0';
        return text_;
    }

    char text_[256];
    std::size_t outer_length_;
};

}  // namespace tarnbase

#endif
