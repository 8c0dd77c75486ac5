// SPDX-License-Identifier: Apache-2.0
#include "edit/batch.h"

#include <fmt/core.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>

#include "base/failure.h"

namespace tarnctl {
namespace {

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

// Reads the words of a line.
class WordReader {
 public:
    explicit WordReader(std::string_view line) : rest_(line) {}

    // False at the end of the line.
    bool next(std::string &word) {
        while (!rest_.empty() && is_blank(rest_.front())) rest_.remove_prefix(1);
        if (rest_.empty() || rest_.front() == '#') return false;
        word.clear();
        while (!rest_.empty() && !is_blank(rest_.front())) take(word);
        return true;
    }

 private:
    char first() {
        const char c = rest_.front();
        rest_.remove_prefix(1);
        return c;
    }

    void take(std::string &word) {
        const char c = first();
        if (c == '\'' || c == '"') take_quoted(word, c);
        else word += c == '\\' ? escaped() : c;
    }

    char escaped() {
        if (rest_.empty()) throw Failure(Exit::data, "there is nothing after the last `\\`");
        return first();
    }

    void take_quoted(std::string &word, char quote) {
        while (!rest_.empty() && rest_.front() != quote) {
            const char c = first();
            const bool escape = quote == '"' && c == '\\' && !rest_.empty() &&
                                (rest_.front() == '"' || rest_.front() == '\\');
            word += escape ? first() : c;
        }
        if (rest_.empty())
            throw Failure(Exit::data,
                          fmt::format("the quotation that {} begins doesn't end", quote));
        first();
    }

    std::string_view rest_;
};

std::vector<BatchLine> read_lines(std::istream &in, const std::string &name) {
    std::vector<BatchLine> lines;
    std::string line;
    for (std::size_t number = 1; std::getline(in, line); ++number) {
        const std::string place = fmt::format("{}:{}", name, number);
        try {
            std::vector<std::string> words = split_words(line);
            if (!words.empty()) lines.push_back({place, std::move(words)});
        } catch (const Failure &failure) {
            throw Failure(failure.code(), fmt::format("{}: {}", place, failure.what()));
        }
    }
    if (in.bad()) throw Failure(Exit::store, fmt::format("{}: {}", name, std::strerror(errno)));
    return lines;
}

}  // namespace

std::vector<std::string> split_words(std::string_view line) {
    std::vector<std::string> words;
    WordReader reader(line);
    for (std::string word; reader.next(word);) words.push_back(word);
    return words;
}

std::vector<BatchLine> read_batch(const std::string &path) {
    if (path == "-") return read_lines(std::cin, "standard input");
    std::ifstream file(path);
    if (!file) throw Failure(Exit::store, fmt::format("{}: {}", path, std::strerror(errno)));
    return read_lines(file, path);
}

}  // namespace tarnctl
