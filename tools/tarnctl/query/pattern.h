// SPDX-License-Identifier: Apache-2.0
//
// A regular expression, POSIX extended, as of `grep -E`.
#ifndef TARNCTL_QUERY_PATTERN_H
#define TARNCTL_QUERY_PATTERN_H

#include <regex.h>

#include <memory>
#include <string>
#include <string_view>

namespace tarnctl {

class Pattern {
 public:
    // Failure `usage` that names the expression and what is wrong with it.
    Pattern(const std::string &expression, bool ignores_case);

    // Whether it matches a part of the text, which may hold any bytes.
    bool matches(std::string_view text) const;

 private:
    struct Free {
        void operator()(regex_t *compiled) const;
    };

    std::unique_ptr<regex_t, Free> compiled_;
};

}  // namespace tarnctl

#endif
