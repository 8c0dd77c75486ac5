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
    Line(char *buffer, std::uint32_t size) : at_(buffer), free_(size), size_(size) {}

    Line &text(std::string_view text) {
        if (text.size() > free_) return cut(text);
        if (text.empty()) return *this;
        std::memcpy(at_, text.data(), text.size());
        return advance(text.size());
    }

    Line &character(char character) { return text({&character, 1}); }

    Line &blanks(std::uint32_t count) {
        const std::uint32_t fits = std::min(count, free_);
        if (fits > 0) std::memset(at_, ' ', fits);
        lost_ += count - fits;
        return advance(fits);
    }

    template <typename Number>
    Line &number(Number number) {
        char digits[std::numeric_limits<Number>::digits10 + 3];
        if (sizeof digits <= free_) {
            char *const end = std::to_chars(at_, at_ + sizeof digits, number).ptr;
            return advance(static_cast<std::size_t>(end - at_));
        }
        const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
        return text({digits, static_cast<std::size_t>(end - digits)});
    }

    // The length of the whole text.
    std::uint64_t length() const { return lost_ + (size_ - free_); }
    bool fits() const { return lost_ == 0; }

    // The length of the whole text; 0 with EMSGSIZE if it didn't fit.
    std::uint32_t finish(kel_handle *handle, std::uint32_t *err) const {
        if (fits()) return size_ - free_;
        report_first_error(handle, err, EMSGSIZE);
        return 0;
    }

 private:
    Line &advance(std::size_t length) {
        at_ += length;
        free_ -= static_cast<std::uint32_t>(length);
        return *this;
    }

    // Appends what fits of a text that doesn't.
    Line &cut(std::string_view text) {
        if (free_ > 0) std::memcpy(at_, text.data(), free_);
        lost_ += text.size() - free_;
        return advance(free_);
    }

    char *at_;
    std::uint32_t free_;
    std::uint32_t size_;
    std::uint64_t lost_ = 0;  // bytes that didn't fit
};

}  // namespace tarnbase::runtime

#endif
