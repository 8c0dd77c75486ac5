/* SPDX-License-Identifier: Apache-2.0 */
// Processes that work on a store in a folder, and how long their operations take.
#ifndef TARNBASE_BENCH_PROCESSES_H
#define TARNBASE_BENCH_PROCESSES_H

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <bit>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

#include "bench/folder.h"

namespace bench {

using Clock = std::chrono::steady_clock;

inline std::uint64_t nanoseconds_since(Clock::time_point start) {
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - start).count());
}

// Times by their size, with an error of at most a sixteenth.
class Histogram {
 public:
    void add(std::uint64_t nanoseconds) {
        ++counts_[place(nanoseconds)];
        if (nanoseconds > most_) most_ = nanoseconds;
        ++count_;
    }
    std::uint64_t count() const { return count_; }
    std::uint64_t most() const { return most_; }
    // The time that this part of all times, from 0 to 1, doesn't exceed.
    std::uint64_t quantile(double part) const {
        auto left = static_cast<std::uint64_t>(part * static_cast<double>(count_));
        for (std::size_t i = 0; i < counts_.size(); ++i) {
            if (left < counts_[i]) return start(i);
            left -= counts_[i];
        }
        return most_;
    }
    void add(const Histogram &other) {
        for (std::size_t i = 0; i < counts_.size(); ++i) counts_[i] += other.counts_[i];
        if (other.most_ > most_) most_ = other.most_;
        count_ += other.count_;
    }

 private:
    static std::size_t place(std::uint64_t value) {
        if (value < 16) return static_cast<std::size_t>(value);
        const auto power = static_cast<unsigned>(std::bit_width(value)) - 5;
        return (power + 1) * 16 + static_cast<std::size_t>((value >> power) - 16);
    }
    static std::uint64_t start(std::size_t place) {
        if (place < 16) return place;
        return (place % 16 + 16) << (place / 16 - 1);
    }

    std::array<std::uint64_t, 16 * 61> counts_{};
    std::uint64_t most_ = 0;
    std::uint64_t count_ = 0;
};

// Random numbers, the same in each run.
class Chance {
 public:
    explicit Chance(std::uint32_t seed) : engine_(seed) {}
    std::uint32_t operator()() { return static_cast<std::uint32_t>(engine_()); }

 private:
    std::mt19937 engine_;
};

// Zeroed memory that the processes share.
template <typename T>
class Shared {
 public:
    Shared() {
        void *memory =
            ::mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) std::abort();
        value_ = new (memory) T;
    }
    ~Shared() { ::munmap(value_, sizeof(T)); }
    Shared(const Shared &) = delete;
    Shared &operator=(const Shared &) = delete;
    T &operator*() const { return *value_; }
    T *operator->() const { return value_; }

 private:
    T *value_;
};

// A process that runs `body`. It is killed by the destructor unless it has ended.
class Process {
 public:
    template <typename Body>
    explicit Process(Body body) {
        std::fflush(nullptr);
        pid_ = ::fork();
        if (pid_ != 0) return;
        body();
        ::_exit(0);
    }
    Process(Process &&other) noexcept : pid_(other.pid_) { other.pid_ = 0; }
    Process &operator=(Process &&) = delete;
    ~Process() { kill(); }

    void kill() {
        if (pid_ <= 0) return;
        ::kill(pid_, SIGKILL);
        wait();
    }
    void wait() {
        ::waitpid(pid_, nullptr, 0);
        pid_ = 0;
    }

 private:
    pid_t pid_;
};

}  // namespace bench

#endif
