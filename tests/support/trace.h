/* SPDX-License-Identifier: Apache-2.0 */
// Captures the trace lines of a scope.
#ifndef TARNBASE_TESTS_SUPPORT_TRACE_H
#define TARNBASE_TESTS_SUPPORT_TRACE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tarn::test {

struct TraceLine {
    std::uint16_t module_id = 0;
    std::uint32_t level = 0;
    std::string text;
};

// Is the process's trace sink while it lives; one at a time.
class TraceCapture {
 public:
    TraceCapture();
    ~TraceCapture();
    TraceCapture(const TraceCapture &) = delete;
    TraceCapture &operator=(const TraceCapture &) = delete;

    std::vector<TraceLine> lines;

    // Lines with exactly this text at this level.
    std::size_t count(std::uint32_t level, const std::string &text) const;
    bool has(std::uint32_t level, const std::string &text) const { return count(level, text) > 0; }
    // All lines, one a row, for a failure's message.
    std::string all() const;
};

}  // namespace tarn::test

#endif
