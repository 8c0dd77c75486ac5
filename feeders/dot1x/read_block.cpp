// SPDX-License-Identifier: Apache-2.0
#include "read_block.h"

#include <charconv>

namespace tarn_dot1x {
namespace {

std::optional<uint32_t> choose(std::string_view value, std::span<const Choice> choices) {
    for (const Choice &choice : choices)
        if (choice.text == value) return choice.stored;
    return std::nullopt;
}

std::optional<uint32_t> parse_number(std::string_view text) {
    uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

std::string expected(std::string_view variable, std::span<const Choice> choices) {
    std::string text = std::string(variable) + "=";
    if (choices.empty()) return text + "a number below 2^32";
    for (const Choice &choice : choices) {
        if (&choice != &choices.front()) text += " or ";
        text += choice.text;
    }
    return text;
}

}  // namespace

std::optional<uint32_t> read_number(const Block &block, std::string_view variable,
                                    std::span<const Choice> choices, Problems &problems) {
    const Variable *found = block.find(variable);
    if (found == nullptr) return std::nullopt;
    const auto number =
        choices.empty() ? parse_number(found->value) : choose(found->value, choices);
    if (!number)
        problems.add(block.source, found->line, found->name + "=" + found->value,
                     expected(variable, choices));
    return number;
}

}  // namespace tarn_dot1x
