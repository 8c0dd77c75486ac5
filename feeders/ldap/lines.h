// SPDX-License-Identifier: Apache-2.0
//
// Splits the pieces of a growing text into numbered lines. A line is passed on when it is complete;
// one that is longer than kLongestLine is passed on truncated, once, and flagged.
#ifndef FEEDERS_LDAP_LINES_H
#define FEEDERS_LDAP_LINES_H

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace tarn_ldap {

constexpr size_t kLongestLine = size_t{1} << 20;

struct NumberedLine {
    uint64_t number;  // counted from 1
    std::string_view text;
    bool too_long;
};

class Lines {
 public:
    using Sink = std::function<void(const NumberedLine &)>;

    void add(std::string_view piece, const Sink &sink);
    // The next line has this number.
    void number_from(uint64_t number) { number_ = number; }
    // Passes on a last line without an end. The next line is line 1 of another text.
    void finish(const Sink &sink);

 private:
    void append(std::string_view part);

    std::string begun_;
    bool too_long_ = false;
    uint64_t number_ = 1;
};

}  // namespace tarn_ldap

#endif
