// SPDX-License-Identifier: Apache-2.0
//
// Targets: the destinations of the words of options and arguments.
#ifndef TOOLS_CLI_TARGET_H
#define TOOLS_CLI_TARGET_H

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace cli {

// An error in a command line, with what was expected.
class UsageError : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

struct Target {
    // Called with each word. Throws UsageError "expected ..." for a wrong one.
    std::function<void(const std::string &word)> take;
    // The allowed words; none: any word.
    std::vector<std::string> choices;
    // Several words are allowed.
    bool many = false;
};

// A text, the last one given.
Target into(std::string &text);
// All texts in the order given.
Target into(std::vector<std::string> &texts);
// The parts between commas, of all words.
Target list_into(std::vector<std::string> &texts);

// A whole number of this range.
Target number(uint64_t least, uint64_t most, std::function<void(uint64_t)> take);
template <class T>
Target number_into(T &number_taken, uint64_t least, uint64_t most) {
    return number(least, most,
                  [&number_taken](uint64_t value) { number_taken = static_cast<T>(value); });
}
template <class T>
Target number_into(std::optional<T> &number_taken, uint64_t least, uint64_t most) {
    return number(least, most,
                  [&number_taken](uint64_t value) { number_taken = static_cast<T>(value); });
}
// A number of seconds of this range, with or without a fraction.
Target seconds_into(double &seconds, double least, double most);

// One of these words, as its value.
template <class Value, class To>
Target one_of(const std::map<std::string, Value> &words, To &to) {
    Target target{[words, &to](const std::string &word) { to = words.at(word); }, {}, false};
    for (const auto &[word, value] : words) target.choices.push_back(word);
    return target;
}
// One of these words, passed to the function.
Target one_of(std::vector<std::string> words, std::function<void(const std::string &)> take);

}  // namespace cli

#endif
