// SPDX-License-Identifier: Apache-2.0
#include "exports.h"

#include <algorithm>

namespace tarnc {

void Exports::add(char kind, const std::string &symbol, const Place &place) {
    if (!kinds_.emplace(symbol, kind).second)
        diagnostics_.report(place, "a second exported symbol " + symbol,
                            "names of items and fields that make different symbols");
}

void Exports::add(const std::vector<Operation> &operations, const Place &place) {
    for (const Operation &operation : operations) {
        for (const std::string &name : operation.names())
            add(operation.is_weak ? 'W' : 'F', name, place);
    }
}

std::string Exports::list() const {
    std::vector<std::string> lines;
    for (const auto &[symbol, kind] : kinds_) lines.push_back(std::string(1, kind) + " " + symbol);
    std::sort(lines.begin(), lines.end());
    std::string text;
    for (const std::string &line : lines) text += line + "\n";
    return text;
}

std::vector<std::string> Exports::symbols() const {
    std::vector<std::string> result;
    for (const auto &[symbol, kind] : kinds_) result.push_back(symbol);
    return result;
}

}  // namespace tarnc
