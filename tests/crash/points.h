/* SPDX-License-Identifier: Apache-2.0 */
// Points of death: the stores and the system calls of the runtime, counted. The runtime under
// test is compiled so that it calls `point` before each of its stores.
#ifndef TESTS_CRASH_POINTS_H
#define TESTS_CRASH_POINTS_H

#include <cstddef>
#include <cstdint>

#define CRASH_EXPORT __attribute__((visibility("default")))

namespace crash {

// Which stores count. System calls that change files always do, stores into the stack never.
enum class Stores : std::uint8_t {
    every,   // also those into memory that dies with the process
    shared,  // those into files that are mapped shared
};

// From now on points are counted, and the process dies at the n-th. 0: it never dies.
CRASH_EXPORT void arm(std::uint64_t n, Stores stores);
// Ends the counting until `resume`.
CRASH_EXPORT void pause();
CRASH_EXPORT void resume();
// The points that were counted since `arm`.
CRASH_EXPORT std::uint64_t points();

// For the parts of the instrumented runtime.
// Whether this point is the last one. If it is, the caller does half of its work and calls `die`.
bool is_last(const void *address);
bool is_last_call();
[[noreturn]] void die();
// Called before a store to `address`.
void point(const void *address);
// Called before an atomic load from `address`.
void load_point(const void *address);
// Called before and after a system call that changes files.
void call_point();
// Files mapped shared, and unmapped again.
void shared_mapping(const void *address, std::size_t length);
void no_mapping(const void *address, std::size_t length);

}  // namespace crash

#endif
