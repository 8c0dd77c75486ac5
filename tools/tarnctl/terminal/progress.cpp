// SPDX-License-Identifier: Apache-2.0
#include "terminal/progress.h"

#include <fmt/core.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <iostream>
#include <string_view>
#include <utility>

namespace tarnctl {
namespace {

constexpr auto interval = std::chrono::milliseconds(200);

bool error_is_terminal() {
    const char *kind = std::getenv("TERM");
    return isatty(STDERR_FILENO) == 1 && kind != nullptr && std::string_view(kind) != "dumb";
}

std::string clock_text(double seconds) {
    const auto whole = static_cast<uint64_t>(std::ceil(seconds));
    if (whole < 3600) return fmt::format("{}:{:02}", whole / 60, whole % 60);
    return fmt::format("{}:{:02}:{:02}", whole / 3600, whole / 60 % 60, whole % 60);
}

}  // namespace

std::string progress_text(const std::string &what, uint64_t done, uint64_t total, double seconds) {
    const double rate = seconds > 0 ? static_cast<double>(done) / seconds : 0;
    std::string text = fmt::format("{} {}, {:.0f}/s", done, what, rate);
    if (total == 0 || done > total) return text;
    text += fmt::format(", {} %", done * 100 / total);
    if (rate > 0)
        text += fmt::format(", {} left", clock_text(static_cast<double>(total - done) / rate));
    return text;
}

Progress::Progress(std::string what, uint64_t total)
    : what_(std::move(what)), total_(total), enabled_(error_is_terminal()) {}

Progress::~Progress() {
    if (shown_) std::cerr << "\r\x1b[K" << std::flush;
}

void Progress::advance_to(uint64_t done) {
    done_ = done;
    if (!enabled_) return;
    const Clock::time_point now = Clock::now();
    if (now >= next_) show(now);
}

void Progress::show(Clock::time_point now) {
    const double seconds = std::chrono::duration<double>(now - begin_).count();
    std::cerr << "\r\x1b[K" << progress_text(what_, done_, total_, seconds) << std::flush;
    shown_ = true;
    next_ = now + interval;
}

}  // namespace tarnctl
