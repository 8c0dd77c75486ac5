/* SPDX-License-Identifier: Apache-2.0 */
// The last operations of a run, to be told when it fails, or when the process dies
// in the middle of one.
#ifndef TARNBASE_TESTS_BEHAVIOUR_RANDOM_STORY_H
#define TARNBASE_TESTS_BEHAVIOUR_RANDOM_STORY_H

#include <array>
#include <cstdint>
#include <string>

namespace tarn::test {

class Story {
 public:
    // `run` tells how to have this run again. The newest story is told at death.
    explicit Story(std::string run);
    ~Story();
    Story(const Story &) = delete;
    Story &operator=(const Story &) = delete;

    void begin(std::uint32_t step, const char *operation);
    // What the operation works on, up to four figures.
    void add(const char *name, std::uint64_t figure);
    std::string tell() const;

 private:
    struct Figure {
        const char *name;
        std::uint64_t value;
    };
    struct Entry {
        std::uint32_t step = 0;
        const char *operation = nullptr;
        std::uint32_t figures = 0;
        std::array<Figure, 4> figure{};
    };
    static constexpr std::uint32_t kept = 24;

    const std::string run_;
    std::array<Entry, kept> entries_{};
    std::uint32_t begun_ = 0;
};

}  // namespace tarn::test

#endif
