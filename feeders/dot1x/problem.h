// SPDX-License-Identifier: Apache-2.0
//
// Malformed parts of answers. They are reported and skipped.
#ifndef FEEDERS_DOT1X_PROBLEM_H
#define FEEDERS_DOT1X_PROBLEM_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarn_dot1x {

struct Problem {
    std::string source;  // the file, or the socket and the command
    uint64_t line;       // counted from 1
    std::string found;
    std::string expected;
    bool operator==(const Problem &) const = default;
};

class Problems {
 public:
    // A value that is stored in two tables is reported once.
    void add(std::string_view source, uint64_t line, std::string_view found, std::string expected);
    const std::vector<Problem> &list() const { return list_; }

 private:
    std::vector<Problem> list_;
};

// "FILE:LINE: found "...", expected ...".
std::string to_text(const Problem &problem);

// The start of a text, with unprintable bytes as \xNN.
std::string excerpt(std::string_view text);

}  // namespace tarn_dot1x

#endif
