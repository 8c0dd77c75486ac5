// SPDX-License-Identifier: Apache-2.0
#include "terminal/pager.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>

#include "terminal/screen.h"

namespace tarnctl {
namespace {

bool is_installed(std::string_view program) {
    const char *found = std::getenv("PATH");
    std::string_view path = found == nullptr ? "" : found;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find(':'), path.size());
        const std::string file = std::string(path.substr(0, end)) + "/" + std::string(program);
        if (access(file.c_str(), X_OK) == 0) return true;
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return false;
}

// The shell command; empty if there is no pager.
std::string pager_command() {
    if (!output_screen().is_terminal || !screen_settings().pager) return "";
    if (const char *pager = std::getenv("PAGER"))
        return std::string_view(pager) == "cat" ? "" : pager;
    return is_installed("less") ? "less -FRX" : "";
}

// The user left the pager.
void end_output(int /*signal*/) { _exit(0); }

// An interrupt is for the pager, which goes on showing its input.
void set_signals(void (*interrupt)(int), void (*pipe)(int)) {
    signal(SIGINT, interrupt);
    signal(SIGQUIT, interrupt);
    signal(SIGPIPE, pipe);
}

[[noreturn]] void run_pager(const std::string &command, int input) {
    set_signals(SIG_DFL, SIG_DFL);
    dup2(input, STDIN_FILENO);
    execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char *>(nullptr));
    _exit(127);
}

}  // namespace

Pager::Pager() {
    const std::string command = pager_command();
    int ends[2];
    if (command.empty() || pipe2(ends, O_CLOEXEC) != 0) return;
    std::cout.flush();
    pager_ = fork();
    if (pager_ == 0) run_pager(command, ends[0]);
    if (pager_ > 0) {
        set_signals(SIG_IGN, end_output);
        terminal_ = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
        dup2(ends[1], STDOUT_FILENO);
    }
    close(ends[0]);
    close(ends[1]);
}

Pager::~Pager() {
    if (pager_ <= 0) return;
    std::cout.flush();
    dup2(terminal_, STDOUT_FILENO);
    close(terminal_);
    while (waitpid(pager_, nullptr, 0) < 0 && errno == EINTR) continue;
    set_signals(SIG_DFL, SIG_DFL);
}

}  // namespace tarnctl
