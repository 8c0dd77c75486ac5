// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/every/call.h"

#include <dlfcn.h>

#include <array>
#include <stdexcept>
#include <unordered_map>
#include <utility>

namespace tarn::test {

namespace {

// The numbers of arguments of a call: most functions take fewer than the first, a set_all fewer
// than the second. A callee uses its own; the caller removes them all.
constexpr std::size_t usual_count = 12, max_count = 64;

std::set<std::string> &names() {
    static std::set<std::string> called;
    return called;
}

template <std::size_t>
using Each = u64;

template <std::size_t... I>
u64 call_with(void *function, const std::array<u64, sizeof...(I)> &words,
              std::index_sequence<I...>) {
    return reinterpret_cast<u64 (*)(Each<I>...)>(function)(words[I]...);
}

template <std::size_t Count>
u64 call_padded(void *function, const std::vector<Word> &arguments) {
    std::array<u64, Count> words = {};
    for (std::size_t i = 0; i < arguments.size(); ++i) words[i] = arguments[i].word();
    return call_with(function, words, std::make_index_sequence<Count>());
}

}  // namespace

void *symbol(const std::string &name) {
    static std::unordered_map<std::string, void *> known;
    const auto found = known.find(name);
    if (found != known.end()) return found->second;
    void *address = dlsym(RTLD_DEFAULT, name.c_str());
    if (address == nullptr) throw std::runtime_error("nothing is exported as " + name);
    known.emplace(name, address);
    names().insert(name);
    return address;
}

u64 call_address(void *function, const std::vector<Word> &arguments) {
    if (arguments.size() <= usual_count) return call_padded<usual_count>(function, arguments);
    if (arguments.size() <= max_count) return call_padded<max_count>(function, arguments);
    throw std::length_error("too many arguments");
}

u64 call_words(const std::string &name, const std::vector<Word> &arguments) {
    return call_address(symbol(name), arguments);
}

const std::set<std::string> &called_names() { return names(); }

}  // namespace tarn::test
