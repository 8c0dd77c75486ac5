// SPDX-License-Identifier: Apache-2.0
//
// Cuts the pieces of a growing text into numbered lines. A line is handed over when its end has
// come; what is longer than kLongestLine is handed over cut off there, once, and flagged.
#ifndef EXAMPLES_LDAP_STATS_LINES_H
#define EXAMPLES_LDAP_STATS_LINES_H

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace ldap_stats {

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
    // Hands over a last line without an end. What comes next is line 1 of another text.
    void finish(const Sink &sink);

 private:
    void append(std::string_view part);

    std::string begun_;
    bool too_long_ = false;
    uint64_t number_ = 1;
};

}  // namespace ldap_stats

#endif
