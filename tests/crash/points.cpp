// SPDX-License-Identifier: Apache-2.0
// Compiled without instrumentation, as are the other parts that it is linked with.
#include "tests/crash/points.h"

#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>

namespace crash {

namespace {

// Plain data: used before any constructor has run, and by threads that the runtime starts.
std::atomic<bool> counting{false};
std::atomic<std::uint64_t> counted{0};
std::uint64_t last = 0;
Stores which = Stores::every;

struct Range {
    std::uintptr_t begin;
    std::uintptr_t end;
};
constexpr std::size_t max_ranges = 64;
Range ranges[max_ranges];
std::size_t used_ranges = 0;

// A store into the stack makes no difference to anybody else, and these are most.
bool is_on_stack(std::uintptr_t at) {
    constexpr std::uintptr_t stack_size = 1 << 20;
    return at - reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0)) < stack_size;
}

bool counts(const void *address) {
    const auto at = reinterpret_cast<std::uintptr_t>(address);
    if (is_on_stack(at)) return false;
    if (which == Stores::every) return true;
    for (std::size_t i = 0; i < used_ranges; ++i) {
        if (at >= ranges[i].begin && at < ranges[i].end) return true;
    }
    return false;
}

// Not one atomic operation, which would take longer than all else here: two threads that count at
// the same time may count one point.
bool count() {
    const std::uint64_t now = counted.load(std::memory_order_relaxed) + 1;
    counted.store(now, std::memory_order_relaxed);
    return now == last;
}

}  // namespace

void arm(std::uint64_t n, Stores stores) {
    counted = 0;
    last = n;
    which = stores;
    counting = true;
}

void pause() { counting = false; }
void resume() { counting = true; }
std::uint64_t points() { return counted; }

void die() {
    ::syscall(SYS_kill, ::getpid(), SIGKILL);
    ::_exit(1);
}

bool is_last(const void *address) {
    return counting.load(std::memory_order_relaxed) && counts(address) && count();
}

bool is_last_call() { return counting.load(std::memory_order_relaxed) && count(); }

void point(const void *address) {
    if (is_last(address)) die();
}

// Only orders of steps are about loads.
void load_point(const void *) {}

void call_point() {
    if (is_last_call()) die();
}

void shared_mapping(const void *address, std::size_t length) {
    const auto begin = reinterpret_cast<std::uintptr_t>(address);
    for (std::size_t i = 0; i < max_ranges; ++i) {
        if (ranges[i].begin != ranges[i].end) continue;
        ranges[i] = {begin, begin + length};
        if (i >= used_ranges) used_ranges = i + 1;
        return;
    }
    // A range that isn't known would hide its stores.
    ::abort();
}

void no_mapping(const void *address, std::size_t length) {
    const auto begin = reinterpret_cast<std::uintptr_t>(address);
    for (Range &range : ranges) {
        if (range.begin >= begin && range.begin < begin + length) range = {0, 0};
    }
}

}  // namespace crash
