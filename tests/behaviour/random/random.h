/* SPDX-License-Identifier: Apache-2.0 */
// Numbers that are the same with every compiler and library.
#ifndef TARNBASE_TESTS_BEHAVIOUR_RANDOM_RANDOM_H
#define TARNBASE_TESTS_BEHAVIOUR_RANDOM_RANDOM_H

#include <cstddef>
#include <cstdint>

namespace tarn::test {

// The splitmix64 sequence.
class Random {
 public:
    explicit Random(std::uint64_t seed) : state_(seed) {}

    // From 0 to `limit` - 1.
    std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(next() % limit); }
    bool coin() { return below(2) == 0; }
    bool one_in(std::uint32_t times) { return below(times) == 0; }
    template <typename T, std::size_t N>
    const T &of(const T (&choices)[N]) {
        return choices[below(static_cast<std::uint32_t>(N))];
    }

 private:
    std::uint64_t next() {
        state_ += 0x9e3779b97f4a7c15U;
        std::uint64_t mixed = state_;
        mixed = (mixed ^ (mixed >> 30)) * 0xbf58476d1ce4e5b9U;
        mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111ebU;
        return (mixed ^ (mixed >> 31)) >> 16;
    }

    std::uint64_t state_;
};

}  // namespace tarn::test

#endif
