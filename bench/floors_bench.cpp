// SPDX-License-Identifier: Apache-2.0
// Lower bounds for any program: a read of memory that depends on the one before, a copy, and
// appending numbers to a text.
//   floors_bench REPETITIONS
#include <benchmark/benchmark.h>

#include <charconv>
#include <cstring>

#include "bench/contenders/keys.h"
#include "bench/contest.h"

namespace {

using bench::Contender;

// A cycle through all lines of 256 MiB, which no cache holds.
Contender dependent_read() {
    constexpr std::uint32_t lines = 1U << 22;
    struct alignas(64) Line {
        std::uint32_t next;
    };
    std::vector<Line> memory(lines);
    const std::vector<std::uint32_t> order = bench::shuffled(lines, 1);
    for (std::uint32_t i = 0; i < lines; ++i) memory[order[i]].next = order[(i + 1) % lines];
    return {"floor", [memory = std::move(memory), at = 0U](std::uint32_t rounds) mutable {
                for (; rounds > 0; --rounds) at = memory[at].next;
                benchmark::DoNotOptimize(at);
            }};
}

template <std::size_t bytes>
Contender copy() {
    return {"floor", [from = std::vector<char>(bytes, 1),
                      to = std::vector<char>(bytes)](std::uint32_t rounds) mutable {
                for (; rounds > 0; --rounds) {
                    std::memcpy(to.data(), from.data(), bytes);
                    benchmark::DoNotOptimize(to.data());
                    benchmark::ClobberMemory();
                }
            }};
}

Contender append() {
    return {"floor", [](std::uint32_t rounds) {
                std::array<char, 16> text;
                for (std::uint32_t number = 123456; rounds > 0; --rounds) {
                    benchmark::DoNotOptimize(
                        std::to_chars(text.data(), text.data() + text.size(), ++number).ptr);
                    benchmark::ClobberMemory();
                }
            }};
}

}  // namespace

int main(int count, char **arguments) {
    const auto repetitions =
        static_cast<std::uint32_t>(count > 1 ? std::strtoul(arguments[1], nullptr, 10) : 5);
    bench::hold({"dependent read of memory", "floor", {dependent_read()}}, repetitions);
    bench::hold({"copy of 64 bytes", "floor", {copy<64>()}}, repetitions);
    bench::hold({"copy of 1600 bytes", "floor", {copy<1600>()}}, repetitions);
    bench::hold({"copy of 1 MiB", "floor", {copy<1U << 20>()}}, repetitions);
    bench::hold({"append a number of six digits", "floor", {append()}}, repetitions);
    return 0;
}
