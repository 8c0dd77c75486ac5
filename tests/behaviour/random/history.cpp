// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/random/history.h"

#include <csignal>
#include <cstdio>
#include <sstream>

// Defined by a sanitizer, which ends the process without a signal.
extern "C" void __sanitizer_set_death_callback(void (*callback)()) __attribute__((weak));

namespace tarn::test {

namespace {

const History *newest = nullptr;

void print_newest() {
    if (newest == nullptr) return;
    const std::string text = newest->text();
    newest = nullptr;
    std::fputs(text.c_str(), stderr);
}

void print_and_die(int signal) {
    print_newest();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

}  // namespace

History::History(std::string run) : run_(std::move(run)) {
    newest = this;
    std::signal(SIGABRT, print_and_die);
    if (__sanitizer_set_death_callback != nullptr) {
        __sanitizer_set_death_callback(print_newest);
    } else {
        std::signal(SIGSEGV, print_and_die);
    }
}

History::~History() { newest = nullptr; }

void History::begin(std::uint32_t step, const char *operation) {
    entries_[begun_++ % kept] = {step, operation, 0, {}};
}

void History::add(const char *name, std::uint64_t figure) {
    if (begun_ == 0) return;
    Entry &entry = entries_[(begun_ - 1) % kept];
    if (entry.figures < entry.figure.size()) entry.figure[entry.figures++] = {name, figure};
}

std::string History::text() const {
    std::ostringstream lines;
    lines << run_ << "\nthe last operations:\n";
    const std::uint32_t first = begun_ < kept ? 0 : begun_ - kept;
    for (std::uint32_t i = first; i < begun_; ++i) {
        const Entry &entry = entries_[i % kept];
        lines << "  step " << entry.step << ": " << entry.operation;
        for (std::uint32_t n = 0; n < entry.figures; ++n) {
            lines << " " << entry.figure[n].name << " " << entry.figure[n].value;
        }
        lines << "\n";
    }
    return lines.str();
}

}  // namespace tarn::test
