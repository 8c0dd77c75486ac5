// SPDX-License-Identifier: Apache-2.0
#include "listing/key_words.h"

#include <fmt/core.h>

#include <algorithm>
#include <optional>

#include "base/failure.h"
#include "base/hex.h"
#include "model/record.h"

namespace tarnctl {
namespace {

using Texts = std::vector<std::optional<std::string>>;

void set_once(std::optional<std::string> &text, std::string value, std::string_view name) {
    if (text) throw Failure(Exit::usage, fmt::format("{}: given twice", name));
    text = std::move(value);
}

// Sets the text of the column that the word names. Returns whether it names one.
bool take_named(const std::vector<Column> &columns, const std::string &word, Texts &texts) {
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const std::string name = columns[i].name();
        if (word.starts_with(name + "=")) {
            set_once(texts[i], word.substr(name.size() + 1), name);
            return true;
        }
        const std::string hex = name + ":hex=";
        if (!word.starts_with(hex)) continue;
        if (columns[i].path.leaf().kind != Kind::vstring)
            throw Failure(Exit::usage,
                          fmt::format("{}: only a string can be given as `:hex`", name));
        set_once(texts[i], bytes_of_hex(std::string_view(word).substr(hex.size()), name), name);
        return true;
    }
    return false;
}

}  // namespace

std::vector<std::string> key_texts(const Table &table, const std::vector<std::string> &words) {
    const std::vector<Column> columns = key_columns(table);
    Texts texts(columns.size());
    std::vector<std::string> values;
    for (const std::string &word : words) {
        if (!take_named(columns, word, texts)) values.push_back(word);
    }
    const auto missing = std::count(texts.begin(), texts.end(), std::nullopt);
    if (static_cast<std::size_t>(missing) != values.size()) return words;
    std::vector<std::string> result;
    auto next = values.begin();
    for (const std::optional<std::string> &text : texts) result.push_back(text ? *text : *next++);
    return result;
}

}  // namespace tarnctl
