/* SPDX-License-Identifier: Apache-2.0 */
// What every contender of a comparison stores: a key, and 64 bytes that begin with a number.
#ifndef TARNBASE_BENCH_CONTENDERS_KEYS_H
#define TARNBASE_BENCH_CONTENDERS_KEYS_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

// A text of 26 bytes.
struct TextKey {
    std::array<char, 26> bytes;

    explicit TextKey(std::uint32_t number) {
        char text[27];
        std::snprintf(text, sizeof text, "ldap%08u.a.example.org", number % 100000000);
        std::memcpy(bytes.data(), text, bytes.size());
    }
    std::string_view view() const { return {bytes.data(), bytes.size()}; }
    static constexpr const char *name = "text";
};

struct NumberKey {
    std::uint32_t value;

    explicit NumberKey(std::uint32_t number) : value(number) {}
    static constexpr const char *name = "u32";
};

// What a peer stores beside the key: as many bytes as an object of the compared tables takes.
struct Content {
    std::uint32_t number;
    std::array<char, 60> rest;

    explicit Content(std::uint32_t n = 0) : number(n), rest{} {}
};
static_assert(sizeof(Content) == 64);

inline void need(bool good, const char *what) {
    if (good) return;
    std::fprintf(stderr, "%s has failed\n", what);
    std::abort();
}

// The numbers below `count`, shuffled; the same for the same seed.
inline std::vector<std::uint32_t> shuffled(std::uint32_t count, std::uint32_t seed) {
    std::vector<std::uint32_t> numbers(count);
    for (std::uint32_t i = 0; i < count; ++i) numbers[i] = i;
    std::shuffle(numbers.begin(), numbers.end(), std::mt19937(seed));
    return numbers;
}

}  // namespace bench

#endif
