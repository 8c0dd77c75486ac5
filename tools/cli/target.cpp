// SPDX-License-Identifier: Apache-2.0
#include "cli/target.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <sstream>
#include <utility>

namespace cli {
namespace {

template <class T>
std::string text_of(T value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

// The whole word as a number; none if it isn't one.
template <class T>
std::optional<T> read(const std::string &word) {
    T value{};
    const char *end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, value);
    if (error != std::errc() || stop != end) return std::nullopt;
    return value;
}

}  // namespace

Target into(std::string &text) {
    return {[&text](const std::string &word) { text = word; }, {}, false};
}

Target into(std::vector<std::string> &texts) {
    return {[&texts](const std::string &word) { texts.push_back(word); }, {}, true};
}

Target list_into(std::vector<std::string> &texts) {
    return {[&texts](const std::string &word) {
                std::string::size_type at = 0;
                do {
                    const auto end = std::min(word.find(',', at), word.size());
                    if (end == at) throw UsageError("expected words with commas between them");
                    texts.push_back(word.substr(at, end - at));
                    at = end + 1;
                } while (at <= word.size());
            },
            {},
            true};
}

Target number(uint64_t least, uint64_t most, std::function<void(uint64_t)> take) {
    return {[least, most, take = std::move(take)](const std::string &word) {
                const std::optional<uint64_t> value = read<uint64_t>(word);
                if (value && *value >= least && *value <= most) return take(*value);
                const bool is_bounded = most != std::numeric_limits<uint64_t>::max();
                throw UsageError("expected a whole number from " + text_of(least) +
                                 (is_bounded ? " to " + text_of(most) : " on"));
            },
            {},
            false};
}

Target seconds_into(double &seconds, double least, double most) {
    return {[&seconds, least, most](const std::string &word) {
                const std::optional<double> value = read<double>(word);
                if (!value || !std::isfinite(*value) || *value < least || *value > most)
                    throw UsageError("expected seconds, from " + text_of(least) + " to " +
                                     text_of(most));
                seconds = *value;
            },
            {},
            false};
}

Target one_of(std::vector<std::string> words, std::function<void(const std::string &)> take) {
    return {std::move(take), std::move(words), false};
}

}  // namespace cli
