// SPDX-License-Identifier: Apache-2.0
#include "cli/suggestion.h"

#include <algorithm>
#include <cctype>
#include <string>

namespace cli {
namespace {

std::string lower(std::string_view text) {
    std::string result(text);
    for (char &c : result) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return result;
}

}  // namespace

std::size_t edit_distance(std::string_view a, std::string_view b) {
    // Three rows of the matrix: a swap needs the one two rows before.
    std::vector<std::size_t> before(b.size() + 1), last(b.size() + 1), row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        before.swap(last);
        last.swap(row);
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, replaced});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                row[j] = std::min(row[j], before[j - 2] + 1);
        }
    }
    return row[b.size()];
}

std::optional<std::string_view> nearest(std::string_view name,
                                        const std::vector<std::string_view> &known) {
    const std::string wanted = lower(name);
    std::optional<std::string_view> best;
    // At most a third of the name may be wrong.
    std::size_t limit = std::max<std::size_t>(1, wanted.size() / 3) + 1;
    for (const std::string_view each : known) {
        const std::size_t distance = edit_distance(wanted, lower(each));
        if (distance >= limit) continue;
        limit = distance;
        best = each;
    }
    return best;
}

std::string no_such_text(std::string_view kind, std::string_view name,
                         const std::vector<std::string_view> &known) {
    std::string text = "no ";
    text.append(kind).append(" `").append(name).append("`");
    if (const auto near = nearest(name, known))
        text.append("; did you mean `").append(*near).append("`?");
    return text;
}

}  // namespace cli
