// SPDX-License-Identifier: Apache-2.0
#include "tests/support/trace.h"

#include "tarnbase/embedded.h"

namespace tarn::test {

namespace {

void keep(void *context, std::uint16_t module_id, std::uint32_t level, const char *text) {
    static_cast<TraceCapture *>(context)->lines.push_back({module_id, level, text});
}

}  // namespace

TraceCapture::TraceCapture() { kel_trace_set_sink(&keep, this); }
TraceCapture::~TraceCapture() { kel_trace_set_sink(nullptr, nullptr); }

std::size_t TraceCapture::count(std::uint32_t level, const std::string &text) const {
    std::size_t found = 0;
    for (const TraceLine &line : lines) {
        if (line.level == level && line.text == text) ++found;
    }
    return found;
}

std::string TraceCapture::all() const {
    std::string text;
    for (const TraceLine &line : lines) {
        text += std::to_string(line.module_id) + " " + std::to_string(line.level) + " " +
                line.text + "\n";
    }
    return text;
}

}  // namespace tarn::test
