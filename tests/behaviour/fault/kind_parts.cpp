// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/fault/kind_parts.h"

#include <sstream>

namespace tarn::test {

kel_vstring text_of(u32 set, const char *first, const char *second) {
    kel_vstring text = {};
    const char *chosen = set == 0 ? first : second;
    kel_vstring_refer(&text, chosen, static_cast<u32>(std::char_traits<char>::length(chosen)));
    return text;
}

void see_lines(const std::string &text, const std::string &prefix, Sight &sight) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t begin = line.find_first_not_of(" \n");
        const std::size_t end = line.find_first_of(":@", begin);
        if (begin == std::string::npos || end == std::string::npos) continue;
        std::string &seen = sight[prefix + line.substr(begin, end - begin)];
        seen += line.substr(end);
    }
}

}  // namespace tarn::test
