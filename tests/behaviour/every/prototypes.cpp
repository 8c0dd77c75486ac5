// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/every/prototypes.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <stdexcept>

namespace tarn::test {

namespace {

using PrototypesByItem = std::map<std::string, std::vector<Prototype>>;

// Without comments, on one line, and with single spaces.
std::string code_of(const std::filesystem::path &header) {
    std::ifstream in(header);
    const std::string text(std::istreambuf_iterator<char>(in), {});
    std::string code;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text.compare(at, 2, "/*") == 0) at = text.find("*/", at) + 2;
        const char letter = text[at] == '\n' ? ' ' : text[at];
        if (letter != ' ' || code.empty() || code.back() != ' ') code += letter;
    }
    return code;
}

Parameter parameter_of(const std::string &text) {
    const std::size_t begin = text.find_first_not_of(' ');
    const std::size_t end = text.find_last_of(" *");
    std::string type = text.substr(begin, end + 1 - begin);
    while (type.back() == ' ') type.pop_back();
    return {type, text.substr(end + 1)};
}

Prototype prototype_of(const std::string &result, const std::string &name,
                       const std::string &list) {
    Prototype prototype{result, name, {}};
    for (std::size_t at = 0; at < list.size();) {
        const std::size_t end = std::min(list.find(", ", at), list.size());
        prototype.parameters.push_back(parameter_of(list.substr(at, end - at)));
        at = end + 2;
    }
    return prototype;
}

std::vector<Prototype> read_header(const std::filesystem::path &header) {
    const std::string code = code_of(header);
    const std::string mark = "TARNBASE_API ";
    std::vector<Prototype> found;
    for (std::size_t at = code.find(mark); at != std::string::npos; at = code.find(mark, at)) {
        const bool is_data = at >= 7 && code.compare(at - 7, 7, "extern ") == 0;
        at += mark.size();
        const std::size_t open = code.find('(', at);
        const std::size_t close = code.find(')', at);
        if (is_data || open == std::string::npos) continue;
        const Parameter head = parameter_of(code.substr(at, open - at));
        found.push_back(
            prototype_of(head.type, head.name, code.substr(open + 1, close - open - 1)));
    }
    return found;
}

const PrototypesByItem &by_item() {
    static const PrototypesByItem read = [] {
        PrototypesByItem items;
        for (const char *folder : {"enums", "tables", "types"}) {
            const auto path = std::filesystem::path(TARNBASE_GENERATED_HEADERS) / folder;
            for (const auto &file : std::filesystem::directory_iterator(path)) {
                items.emplace(file.path().stem().string(), read_header(file.path()));
            }
        }
        return items;
    }();
    return read;
}

}  // namespace

std::string Parameter::pointee() const {
    std::string pointed = type.substr(0, type.size() - 1);
    if (pointed.compare(0, 6, "const ") == 0) pointed.erase(0, 6);
    while (pointed.back() == ' ') pointed.pop_back();
    return pointed;
}

bool Prototype::takes(const std::string &parameter) const {
    for (const Parameter &each : parameters) {
        if (each.name == parameter) return true;
    }
    return false;
}

bool Prototype::ends_with(const std::string &end) const {
    return name.size() >= end.size() &&
           name.compare(name.size() - end.size(), end.size(), end) == 0;
}

std::vector<Prototype> prototypes_of(const std::string &item) { return by_item().at(item); }

}  // namespace tarn::test
