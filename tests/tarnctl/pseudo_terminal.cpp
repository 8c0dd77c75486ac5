// SPDX-License-Identifier: Apache-2.0
#include "tests/tarnctl/pseudo_terminal.h"

#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace tarnctl_test {
namespace {

[[noreturn]] void run(const std::vector<std::string> &arguments, const Terminal &terminal) {
    for (const char *name : {"COLUMNS", "NO_COLOR", "LESS", "TARNBASE_STORE"}) unsetenv(name);
    setenv("TERM", "xterm", 1);
    setenv("LC_ALL", terminal.locale.c_str(), 1);
    setenv("PAGER", "cat", 1);
    for (const auto &[name, value] : terminal.environment) setenv(name.c_str(), value.c_str(), 1);
    std::vector<char *> words = {const_cast<char *>(TARNCTL)};
    for (const std::string &each : arguments) words.push_back(const_cast<char *>(each.c_str()));
    words.push_back(nullptr);
    execv(TARNCTL, words.data());
    _exit(127);
}

// Until no process has the terminal open, which a read reports as an error.
std::string all_of(int terminal) {
    std::string text;
    char buffer[4096];
    for (;;) {
        const ssize_t count = read(terminal, buffer, sizeof buffer);
        if (count > 0) text.append(buffer, static_cast<std::size_t>(count));
        else if (count == 0 || errno != EINTR) return text;
    }
}

std::string with_plain_ends(const std::string &text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\r' || i + 1 == text.size() || text[i + 1] != '\n') result += text[i];
    }
    return result;
}

}  // namespace

TerminalOutcome on_terminal(const std::vector<std::string> &arguments, const Terminal &terminal) {
    winsize size{};
    size.ws_row = 24;
    size.ws_col = terminal.columns;
    int controller = -1;
    const pid_t child = forkpty(&controller, nullptr, nullptr, &size);
    if (child < 0) return {};
    if (child == 0) run(arguments, terminal);
    TerminalOutcome outcome;
    outcome.written = with_plain_ends(all_of(controller));
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) continue;
    close(controller);
    outcome.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return outcome;
}

}  // namespace tarnctl_test
