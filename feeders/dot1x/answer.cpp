// SPDX-License-Identifier: Apache-2.0
#include "answer.h"

#include <algorithm>
#include <functional>

namespace tarn_dot1x {
namespace {

constexpr size_t kAddressLength = 17;
constexpr const char *kVariable = "a line NAME=VALUE";

bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool is_hex(char c) { return is_digit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }
bool is_name_sign(char c) {
    return is_letter(c) || is_digit(c) || c == '_' || c == '[' || c == ']';
}

bool is_address(std::string_view line) {
    if (line.size() != kAddressLength) return false;
    for (size_t i = 0; i < line.size(); ++i)
        if (i % 3 == 2 ? line[i] != ':' : !is_hex(line[i])) return false;
    return true;
}

using LineFunction = std::function<void(uint64_t number, std::string_view line)>;

// Lines end in LF; the last one may lack it. Empty lines are skipped.
void for_each_line(std::string_view text, const LineFunction &function) {
    for (uint64_t number = 1; !text.empty(); ++number) {
        const size_t end = std::min(text.find('\n'), text.size());
        if (end > 0) function(number, text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

// The name of a line NAME=VALUE; empty of another line.
std::string_view name_of(std::string_view line) {
    const std::string_view name = line.substr(0, line.find('='));
    const bool good =
        name.size() < line.size() && std::all_of(name.begin(), name.end(), is_name_sign);
    return good ? name : std::string_view();
}

void add_variable(Block &block, uint64_t number, std::string_view line, Problems &problems) {
    const std::string_view name = name_of(line);
    if (name.empty()) problems.add(block.source, number, line, kVariable);
    else if (const Variable *first = block.find(name))
        problems.add(block.source, number, line,
                     std::string(name) + " once, and it is in line " + std::to_string(first->line));
    else
        block.variables.push_back(
            {std::string(name), std::string(line.substr(name.size() + 1)), number});
}

}  // namespace

const Variable *Block::find(std::string_view name) const {
    for (const Variable &variable : variables)
        if (variable.name == name) return &variable;
    return nullptr;
}

std::vector<Block> parse_stations(const Text &text, Stations stations, Problems &problems) {
    std::vector<Block> blocks;
    for_each_line(text.bytes, [&](uint64_t number, std::string_view line) {
        const bool more = blocks.empty() || stations == Stations::any_number;
        if (is_address(line) && more) {
            blocks.push_back({text.name, std::string(line), number, {}});
        } else if (blocks.empty()) {
            problems.add(text.name, number, line, "the MAC address of a station");
        } else {
            add_variable(blocks.back(), number, line, problems);
        }
    });
    return blocks;
}

Block parse_status(const Text &text, Problems &problems) {
    Block block{text.name, "", 1, {}};
    for_each_line(text.bytes, [&](uint64_t number, std::string_view line) {
        add_variable(block, number, line, problems);
    });
    return block;
}

std::vector<Block> parse_mib(const Text &text, Problems &problems) {
    std::vector<Block> blocks;
    // The variables before the first server, such as those of a wireless port.
    Block before{text.name, "", 1, {}};
    for_each_line(text.bytes, [&](uint64_t number, std::string_view line) {
        const std::string_view name = name_of(line);
        if (name == "radiusAuthServerIndex" || name == "radiusAccServerIndex")
            blocks.push_back({text.name, "", number, {}});
        add_variable(blocks.empty() ? before : blocks.back(), number, line, problems);
    });
    return blocks;
}

}  // namespace tarn_dot1x
