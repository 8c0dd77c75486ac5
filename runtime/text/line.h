/* SPDX-License-Identifier: Apache-2.0 */
// Builds a text in a caller's buffer: counts the bytes of the whole text, and writes those
// that fit. Nothing is written after the buffer, and no NUL is added.
#ifndef TARNBASE_RUNTIME_TEXT_LINE_H
#define TARNBASE_RUNTIME_TEXT_LINE_H

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>

#include "runtime/base/errors.h"

namespace tarnbase::runtime {

class Line {
 public:
    Line(char *buffer, std::uint32_t size) : buffer_(buffer), size_(size) {}

    Line &text(std::string_view text) {
        if (const std::size_t fits = fitting(text.size()); fits > 0) {
            std::memcpy(buffer_ + length_, text.data(), fits);
        }
        length_ += text.size();
        return *this;
    }

    Line &character(char character) { return text({&character, 1}); }

    Line &blanks(std::uint32_t count) {
        if (const std::size_t fits = fitting(count); fits > 0) {
            std::memset(buffer_ + length_, ' ', fits);
        }
        length_ += count;
        return *this;
    }

    template <typename Number>
    Line &number(Number number) {
        char digits[std::numeric_limits<Number>::digits10 + 3];
        const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
        return text({digits, static_cast<std::size_t>(end - digits)});
    }

    // The length of the whole text; 0 with EMSGSIZE if it didn't fit.
    std::uint32_t finish(kel_handle *handle, std::uint32_t *err) const {
        if (length_ <= size_) return static_cast<std::uint32_t>(length_);
        report_first_error(handle, err, EMSGSIZE);
        return 0;
    }

 private:
    std::size_t fitting(std::size_t count) const {
        if (length_ >= size_) return 0;
        return std::min<std::uint64_t>(count, size_ - length_);
    }

    char *buffer_;
    std::uint32_t size_;
    std::uint64_t length_ = 0;
};

}  // namespace tarnbase::runtime

#endif
