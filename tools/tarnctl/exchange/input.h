// SPDX-License-Identifier: Apache-2.0
//
// A document's bytes, read in pieces, with the position.
#ifndef TARNCTL_EXCHANGE_INPUT_H
#define TARNCTL_EXCHANGE_INPUT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tarnctl {

// Values or elements that nest deeper in a document are an error.
inline constexpr std::size_t deepest_nesting = 64;

class Input {
 public:
    // "-" is standard input. Failure `store` if the file can't be read.
    explicit Input(const std::string &path);
    Input(const Input &) = delete;
    Input &operator=(const Input &) = delete;
    ~Input();

    // Its name in messages.
    const std::string &name() const { return name_; }
    // From 1: that of the next byte, if each end of a line was passed with pass_line().
    uint64_t line() const { return line_; }
    // Of the next byte, from 0. A parser that reads from rest() passes bytes later.
    uint64_t offset() const { return passed_ + at_; }
    // The size in bytes, 0 if unknown.
    uint64_t size() const { return size_; }

    // The next byte, or `end`.
    static constexpr int end = -1;
    int peek() { return at_ < filled_ || fill() ? static_cast<unsigned char>(buffer_[at_]) : end; }
    // The bytes from the next one on that are in memory; none at the end.
    std::string_view rest() {
        peek();
        return std::string_view(buffer_).substr(at_, filled_ - at_);
    }
    // Goes past bytes of rest(). The caller counts the ends of lines in them.
    void pass(std::size_t count) { at_ += count; }
    void pass_line() { ++line_; }
    // Up to `count` bytes; fewer at the end.
    std::string take(std::size_t count);

 private:
    bool fill();

    std::string name_;
    int descriptor_;
    uint64_t size_ = 0;
    uint64_t line_ = 1;
    uint64_t passed_ = 0;  // bytes before the buffer
    std::string buffer_;
    std::size_t at_ = 0;
    std::size_t filled_ = 0;
};

}  // namespace tarnctl

#endif
