// SPDX-License-Identifier: Apache-2.0
#include "tests/support/process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace tarn::test {
namespace {

// A program without output for this long hangs.
constexpr int kHangMilliseconds = 120000;

void check(bool good, const char *what) {
    if (good) return;
    std::perror(what);
    std::abort();
}

int memory_file(const std::string &text) {
    const int file = memfd_create("text", MFD_CLOEXEC);
    check(file >= 0, "memfd_create");
    check(write(file, text.data(), text.size()) == ssize_t(text.size()), "write");
    check(lseek(file, 0, SEEK_SET) == 0, "lseek");
    return file;
}

std::string text_of(int file) {
    std::string text(size_t(lseek(file, 0, SEEK_END)), '\0');
    check(pread(file, text.data(), text.size(), 0) == ssize_t(text.size()), "pread");
    return text;
}

[[noreturn]] void become(std::vector<std::string> command, int in, int out, int err) {
    dup2(in, STDIN_FILENO);
    dup2(out, STDOUT_FILENO);
    dup2(err, STDERR_FILENO);
    std::vector<char *> arguments;
    for (std::string &argument : command) arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    execv(arguments[0], arguments.data());
    _exit(127);
}

}  // namespace

Process::Process(std::vector<std::string> command, const std::string &input)
    : out_(memory_file("")) {
    int pipe_ends[2];
    check(pipe2(pipe_ends, O_CLOEXEC) == 0, "pipe2");
    err_ = pipe_ends[0];
    const int in = memory_file(input);
    pid_ = fork();
    check(pid_ >= 0, "fork");
    if (pid_ == 0) become(std::move(command), in, out_, pipe_ends[1]);
    close(in);
    close(pipe_ends[1]);
}

Process::~Process() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    close(out_);
    close(err_);
}

bool Process::read_error() {
    pollfd watched{err_, POLLIN, 0};
    if (poll(&watched, 1, kHangMilliseconds) <= 0) return false;
    char bytes[4096];
    const ssize_t length = read(err_, bytes, sizeof bytes);
    if (length <= 0) return false;
    error_text_.append(bytes, size_t(length));
    return true;
}

bool Process::wait_for(const std::string &text) {
    while (error_text_.find(text) == std::string::npos)
        if (!read_error()) return false;
    return true;
}

void Process::send(int signal) const { kill(pid_, signal); }

bool Process::is_running() const {
    siginfo_t ended{};
    check(waitid(P_PID, id_t(pid_), &ended, WEXITED | WNOHANG | WNOWAIT) == 0, "waitid");
    return ended.si_pid == 0;
}

Outcome Process::finish() {
    while (read_error()) continue;
    int status = 0;
    check(waitpid(std::exchange(pid_, -1), &status, 0) > 0, "waitpid");
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), text_of(out_),
            error_text_};
}

Outcome run(std::vector<std::string> command, const std::string &input) {
    return Process(std::move(command), input).finish();
}

}  // namespace tarn::test
