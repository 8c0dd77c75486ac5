// SPDX-License-Identifier: Apache-2.0
// Kills processes at the stores of the runtime, and checks what they leave. See README.md.
#include <malloc.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/crash/chain.h"
#include "tests/support/temporary_directory.h"

namespace {

using namespace crash;

struct Options {
    std::uint64_t kills = 20'000;
    std::uint64_t first = 0;  // chain
    std::uint64_t seed = 1;
    std::vector<Kill> at;  // empty: chosen by the seed
    unsigned jobs = std::max(1U, std::thread::hardware_concurrency());
    bool has_seed = false;
    bool all = false;
};

// What the runners share.
struct Progress {
    std::atomic<std::uint64_t> next;   // chain
    std::atomic<std::uint64_t> sweep;  // chains that sweep
    std::atomic<std::uint64_t> kills;
    std::atomic<std::uint64_t> chains;
    std::atomic<std::uint64_t> failures;
    std::atomic<bool> stops;
};

constexpr const char *usage =
    "usage: crash_test [--kills N] [--first N] [--jobs N] [--all]\n"
    "       crash_test --seed S [--at N[s|:I],...]\n"
    "Kills processes at the stores of the runtime and checks what they leave.\n"
    "  --kills N    end after N kills; TARNBASE_CRASH_KILLS sets the default\n"
    "  --first N    begin with chain N; those from 2000 on are random\n"
    "  --jobs N     run N chains at a time\n"
    "  --all        go on after a failure\n"
    "  --seed S     run one chain\n"
    "  --at N,...   kill its processes at these points; Ns: at the n-th shared store;\n"
    "               N:I: I instructions after the start of the n-th commit or opening\n";

std::vector<Kill> parse_kills(const char *text) {
    std::vector<Kill> kills;
    while (*text != 0) {
        char *end = nullptr;
        Kill kill{std::strtoull(text, &end, 10), Stores::every, 0};
        if (end == text) throw std::invalid_argument(text);
        if (*end == 's') {
            kill.stores = Stores::shared;
            ++end;
        } else if (*end == ':') {
            kill.instructions = std::strtoull(end + 1, &end, 10);
        }
        kills.push_back(kill);
        text = *end == ',' ? end + 1 : end;
    }
    return kills;
}

Options parse(int count, char **arguments) {
    Options options;
    if (const char *kills = std::getenv("TARNBASE_CRASH_KILLS")) {
        options.kills = std::strtoull(kills, nullptr, 10);
    }
    for (int i = 1; i < count; ++i) {
        const std::string name = arguments[i];
        const auto value = [&]() -> const char * {
            if (i + 1 >= count) throw std::invalid_argument(name);
            return arguments[++i];
        };
        if (name == "--kills") {
            options.kills = std::strtoull(value(), nullptr, 10);
        } else if (name == "--jobs") {
            options.jobs = static_cast<unsigned>(std::strtoul(value(), nullptr, 10));
        } else if (name == "--first") {
            options.first = std::strtoull(value(), nullptr, 10);
        } else if (name == "--seed") {
            options.seed = std::strtoull(value(), nullptr, 10);
            options.has_seed = true;
        } else if (name == "--at") {
            options.at = parse_kills(value());
        } else if (name == "--all") {
            options.all = true;
        } else {
            throw std::invalid_argument(name);
        }
    }
    return options;
}

std::string text_of(const std::vector<Kill> &kills) {
    std::string text;
    for (const Kill &kill : kills) {
        text += (text.empty() ? "" : ",") + std::to_string(kill.at) +
                (kill.stores == Stores::shared ? "s" : "") +
                (kill.instructions != 0 ? ":" + std::to_string(kill.instructions) : "");
    }
    return text;
}

void report(const Chain &chain, const Result &result) {
    std::vector<Kill> kills = chain.kills;
    if (result.failed_link < kills.size()) kills.resize(result.failed_link + 1);
    std::fprintf(stderr, "process %zu of the chain: %s\n  crash_test --seed %llu --at %s\n",
                 result.failed_link + 1, result.failure.c_str(),
                 static_cast<unsigned long long>(chain.seed), text_of(kills).c_str());
}

// The first chains sweep: each ends its first process at one shared store more than the one
// before, from the creation of a store on. The others are random, and twice as long.
constexpr std::uint64_t max_sweep = 2000;
constexpr std::size_t sweep_length = 10;

Chain chain_of(const Options &options, std::uint64_t number, std::uint64_t sweep) {
    if (options.has_seed) {
        return {options.seed, options.at.empty() ? random_kills(options.seed) : options.at};
    }
    std::vector<Kill> kills = random_kills(number);
    if (number >= sweep) return {number, kills};
    kills.resize(sweep_length);
    kills.front() = {number + 1, Stores::shared, 0};
    return {options.seed, kills};
}

void run_chains(const Options &options, Progress &progress) {
    // A killed process loses no page of a file, whatever the file system.
    const tarn::test::TemporaryDirectory directory(tarn::test::fast_directory_path());
    while (!progress.stops && progress.kills < options.kills) {
        const std::uint64_t number = progress.next++;
        if (options.has_seed && number > 0) break;
        const Chain chain = chain_of(options, number, progress.sweep);
        const Result result = run(chain, directory / "chain");
        progress.kills += result.kills;
        progress.chains += 1;
        // The process has no more points.
        if (result.points != 0 && number < progress.sweep) progress.sweep = number;
        if (result.points != 0 && options.has_seed) {
            std::printf("%llu points in the first process\n",
                        static_cast<unsigned long long>(result.points));
        }
        if (result.failure.empty()) continue;
        report(chain, result);
        progress.failures += 1;
        if (!options.all) progress.stops = true;
    }
}

int run_all(const Options &options) {
    void *const memory = ::mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE,
                                MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::runtime_error("mmap");
    auto &progress = *new (memory) Progress{};
    progress.next = options.first;
    progress.sweep = std::min(max_sweep, options.kills / (2 * sweep_length));
    const auto begin = std::chrono::steady_clock::now();
    // Memory that is freed is used again and not returned to the kernel.
    ::mallopt(M_MMAP_THRESHOLD, 1 << 24);
    ::mallopt(M_TRIM_THRESHOLD, 1 << 24);
    std::vector<pid_t> runners;
    for (unsigned job = 0; job < (options.has_seed ? 1 : options.jobs); ++job) {
        const pid_t runner = ::fork();
        if (runner < 0) throw std::runtime_error("fork");
        if (runner == 0) {
            int status = 0;
            try {
                run_chains(options, progress);
            } catch (const std::exception &error) {
                std::fprintf(stderr, "crash_test: %s\n", error.what());
                status = 1;
            }
            std::fflush(stdout);
            ::_exit(status);
        }
        runners.push_back(runner);
    }
    bool ended_well = true;
    for (const pid_t runner : runners) {
        int status = 0;
        ::waitpid(runner, &status, 0);
        ended_well = ended_well && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    std::printf("%llu kills in %llu chains, %llu of them failed, in %.1f s\n",
                static_cast<unsigned long long>(progress.kills),
                static_cast<unsigned long long>(progress.chains),
                static_cast<unsigned long long>(progress.failures), time.count());
    return ended_well && progress.failures == 0 ? 0 : 1;
}

}  // namespace

int main(int count, char **arguments) {
    try {
        return run_all(parse(count, arguments));
    } catch (const std::invalid_argument &error) {
        std::fprintf(stderr, "crash_test: %s\n%s", error.what(), usage);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "crash_test: %s\n", error.what());
    }
    return 2;
}
