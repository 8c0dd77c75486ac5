// SPDX-License-Identifier: Apache-2.0
// tarnctl journal, killed at one system call after the other.
#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <optional>

#include "tests/support/json.h"
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

constexpr int no_limit = 1 << 30;
// The last calls of the command, which work on the store's files, and the distance between two
// kills.
constexpr int last_stops = 800;
constexpr int stride = 80;

// In a child: becomes the program, which stops before its first call.
[[noreturn]] void run_traced(const std::vector<std::string> &command) {
    std::vector<char *> words;
    for (const std::string &each : command) words.push_back(const_cast<char *>(each.c_str()));
    words.push_back(nullptr);
    const int none = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int output : {STDOUT_FILENO, STDERR_FILENO}) ::dup2(none, output);
    // The leak check of AddressSanitizer can't work in a traced process.
    ::setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
    if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0) ::execv(words[0], words.data());
    ::_exit(127);
}

// Runs a program and kills it when it has stopped so many times, at the begin or at the end of a
// system call. Returns the stops, if it wasn't stopped so often.
std::optional<int> run_to_stop(const std::vector<std::string> &command, int most) {
    const pid_t pid = ::fork();
    if (pid == 0) run_traced(command);
    int status = 0;
    ::waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFSTOPPED(status)) << status;
    for (int stops = 0; WIFSTOPPED(status); ++stops) {
        if (stops == most) {
            ::kill(pid, SIGKILL);
            ::waitpid(pid, &status, 0);
            return std::nullopt;
        }
        const int signal = WSTOPSIG(status) == SIGTRAP ? 0 : WSTOPSIG(status);
        ::ptrace(PTRACE_SYSCALL, pid, nullptr, signal);
        if (::waitpid(pid, &status, 0) != pid) break;
        if (!WIFSTOPPED(status)) {
            EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
            return stops;
        }
    }
    ADD_FAILURE() << "the program can't be traced";
    return std::nullopt;
}

class KilledJournal : public WithStore {
 protected:
    bool is_enabled() {
        const Outcome outcome = on_store({"journal", "status", "--json"});
        EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
        return tarn::test::json_of(outcome.out)["enabled"] == true;
    }
    // Kills a command at its calls. Returns how often it had no effect, and how often it had.
    std::pair<int, int> kill_everywhere(const std::vector<std::string> &command,
                                        const std::vector<std::string> &reset) {
        std::vector<std::string> words = command;
        words.insert(words.begin(), TARNCTL);
        words.push_back(store);
        const int stops = run_to_stop(words, no_limit).value_or(0);
        std::pair<int, int> effects{0, 0};
        for (int at = std::max(0, stops - last_stops); at < stops; at += stride) {
            EXPECT_EQ(on_store(reset).exit_code, 0);
            const bool before = is_enabled();
            EXPECT_FALSE(run_to_stop(words, at).has_value());
            ++(is_enabled() == before ? effects.first : effects.second);
            expect_sound(at);
            if (HasFailure()) break;
        }
        return effects;
    }
    void expect_sound(int at) {
        const Outcome check = on_store({"store", "check"});
        EXPECT_EQ(check.exit_code, 0) << "stop " << at << ": " << check.out << check.err;
        const std::string value = "num_conns=" + std::to_string(at);
        EXPECT_EQ(on_store({"set", "ldap_conn", "b.example", value}).exit_code, 0);
        const Outcome get = on_store({"get", "ldap_conn", "b.example", "--field", "num_conns"});
        EXPECT_EQ(get.out, std::to_string(at) + "\n") << get.err;
    }
};

TEST_F(KilledJournal, IsStartedOrNotAndTheStoreIsSound) {
    const auto [not_done, done] = kill_everywhere({"journal", "start", "--durability", "commit"},
                                                  {"journal", "stop", "--durability", "process"});
    EXPECT_GT(not_done, 0);
    EXPECT_GT(done, 0);
}

TEST_F(KilledJournal, IsStoppedOrNotAndTheStoreIsSound) {
    const auto [not_done, done] = kill_everywhere({"journal", "stop"}, {"journal", "start"});
    EXPECT_GT(not_done, 0);
    EXPECT_GT(done, 0);
}

}  // namespace
}  // namespace tarnctl_test
