/* SPDX-License-Identifier: Apache-2.0 */
// A caller's buffer and how far a form has got in it: wire and key forms, text and
// XML alike. An operation takes its cursor by value and returns the bytes that it
// used, with which its caller advances.
#ifndef TARNBASE_FRAME_CURSOR_H
#define TARNBASE_FRAME_CURSOR_H

#include <algorithm>
#include <cstdint>
#include <type_traits>

namespace tarnbase {

// `Byte`: char to write, const char to read.
template <typename Byte>
class Cursor {
    using Memory = std::conditional_t<std::is_const_v<Byte>, const void, void>;

 public:
    Cursor(Memory *buffer, std::uint32_t length)
        : at_(static_cast<Byte *>(buffer)), remaining_(length) {}

    // At the end of the buffer if more than its bytes are used.
    Byte *at() const { return at_; }
    std::uint32_t remaining() const { return remaining_; }
    std::uint32_t used() const { return used_; }
    // Whether no byte remains. A length that is negative as a signed number is none.
    bool is_empty() const { return static_cast<std::int32_t>(remaining_) < 1; }

    void advance(std::uint32_t length) {
        const std::uint32_t step = std::min(length, remaining_);
        at_ += step;
        remaining_ -= step;
        used_ += length;
    }

    // What remains, as a buffer of its own.
    Cursor rest() const { return {at_, remaining_}; }

 private:
    Byte *at_;
    std::uint32_t remaining_;
    std::uint32_t used_ = 0;
};

using Output = Cursor<char>;
using Input = Cursor<const char>;

}  // namespace tarnbase

#endif
