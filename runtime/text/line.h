/* SPDX-License-Identifier: Apache-2.0 */
// Builds a text in a caller's buffer: counts the bytes of the whole text, and writes those
// that fit. Nothing is written after the buffer, and no NUL is added.
#ifndef TARNBASE_RUNTIME_TEXT_LINE_H
#define TARNBASE_RUNTIME_TEXT_LINE_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "runtime/base/errors.h"
#include "runtime/text/append.h"

namespace tarnbase::runtime {

class Line {
 public:
    Line(char *buffer, std::uint32_t size) : at_(buffer), free_(size), size_(size) {}

    Line &text(std::string_view text) {
        if (text.size() > free_) return cut(text);
        append(at_, text.data(), static_cast<std::uint32_t>(text.size()));
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
        if (longest_number<Number> <= free_) {
            return advance(static_cast<std::size_t>(append_number(at_, number) - at_));
        }
        char digits[longest_number<Number>];
        const auto length = static_cast<std::size_t>(append_number(digits, number) - digits);
        if (length > free_) return cut({digits, length});
        std::memcpy(at_, digits, length);
        return advance(length);
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
