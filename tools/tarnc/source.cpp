// SPDX-License-Identifier: Apache-2.0
#include "source.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <tuple>

namespace tarnc {

void Diagnostics::report(const Place &place, const std::string &wrong,
                         const std::string &expected) {
    lines_.push_back({place, wrong + "; expected " + expected});
}

void Diagnostics::print(std::ostream &out) const {
    std::vector<Line> lines = lines_;
    std::stable_sort(lines.begin(), lines.end(), [](const Line &a, const Line &b) {
        return std::tie(*a.place.file, a.place.line, a.place.column) <
               std::tie(*b.place.file, b.place.line, b.place.column);
    });
    std::string last;
    for (const Line &line : lines) {
        const std::string text = *line.place.file + ":" + std::to_string(line.place.line) + ":" +
                                 std::to_string(line.place.column) + ": " + line.text;
        if (text != last) out << text << '\n';
        last = text;
    }
}

bool read_file(const std::string &path, std::string &content) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    content.assign(std::istreambuf_iterator<char>(in), {});
    return !in.bad();
}

}  // namespace tarnc
