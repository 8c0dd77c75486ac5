// SPDX-License-Identifier: Apache-2.0
#include "problem.h"

#include <algorithm>
#include <utility>

namespace tarn_dot1x {
namespace {

constexpr size_t kExcerptLength = 60;

}  // namespace

void Problems::add(std::string_view source, uint64_t line, std::string_view found,
                   std::string expected) {
    Problem problem{std::string(source), line, excerpt(found), std::move(expected)};
    if (std::find(list_.begin(), list_.end(), problem) == list_.end())
        list_.push_back(std::move(problem));
}

std::string to_text(const Problem &problem) {
    return problem.source + ":" + std::to_string(problem.line) + ": found \"" + problem.found +
           "\", expected " + problem.expected;
}

std::string excerpt(std::string_view text) {
    constexpr const char *digits = "0123456789abcdef";
    std::string result;
    for (const char c : text.substr(0, kExcerptLength)) {
        if (c >= ' ' && c <= '~') {
            result += c;
            continue;
        }
        const unsigned byte = static_cast<unsigned char>(c);
        result.append({'\\', 'x', digits[byte >> 4], digits[byte & 15]});
    }
    if (text.size() > kExcerptLength) result += "...";
    return result;
}

}  // namespace tarn_dot1x
