/* SPDX-License-Identifier: Apache-2.0 */
// The last operations of a run, printed when it fails or the process dies.
#ifndef TARNBASE_TESTS_BEHAVIOUR_RANDOM_HISTORY_H
#define TARNBASE_TESTS_BEHAVIOUR_RANDOM_HISTORY_H

#include <array>
#include <cstdint>
#include <string>

namespace tarn::test {

class History {
 public:
    // `run` says how to repeat this run. The newest history is printed when the process dies.
    explicit History(std::string run);
    ~History();
    History(const History &) = delete;
    History &operator=(const History &) = delete;

    void begin(std::uint32_t step, const char *operation);
    // The arguments of the operation, up to four numbers.
    void add(const char *name, std::uint64_t figure);
    std::string text() const;

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
