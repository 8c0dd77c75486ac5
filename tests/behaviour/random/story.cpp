// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/random/story.h"

#include <csignal>
#include <cstdio>
#include <sstream>

// There when a sanitizer is linked in, which doesn't raise a signal when it ends the process.
extern "C" void __sanitizer_set_death_callback(void (*callback)()) __attribute__((weak));

namespace tarn::test {

namespace {

const Story *newest = nullptr;

void tell_newest() {
    if (newest == nullptr) return;
    const std::string text = newest->tell();
    newest = nullptr;
    std::fputs(text.c_str(), stderr);
}

void tell_and_die(int signal) {
    tell_newest();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

}  // namespace

Story::Story(std::string run) : run_(std::move(run)) {
    newest = this;
    std::signal(SIGABRT, tell_and_die);
    if (__sanitizer_set_death_callback != nullptr) {
        __sanitizer_set_death_callback(tell_newest);
    } else {
        std::signal(SIGSEGV, tell_and_die);
    }
}

Story::~Story() { newest = nullptr; }

void Story::begin(std::uint32_t step, const char *operation) {
    entries_[begun_++ % kept] = {step, operation, 0, {}};
}

void Story::add(const char *name, std::uint64_t figure) {
    if (begun_ == 0) return;
    Entry &entry = entries_[(begun_ - 1) % kept];
    if (entry.figures < entry.figure.size()) entry.figure[entry.figures++] = {name, figure};
}

std::string Story::tell() const {
    std::ostringstream text;
    text << run_ << "\nthe last operations:\n";
    const std::uint32_t first = begun_ < kept ? 0 : begun_ - kept;
    for (std::uint32_t i = first; i < begun_; ++i) {
        const Entry &entry = entries_[i % kept];
        text << "  step " << entry.step << ": " << entry.operation;
        for (std::uint32_t n = 0; n < entry.figures; ++n) {
            text << " " << entry.figure[n].name << " " << entry.figure[n].value;
        }
        text << "\n";
    }
    return text.str();
}

}  // namespace tarn::test
