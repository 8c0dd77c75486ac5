// SPDX-License-Identifier: Apache-2.0
#include "tests/shared/child.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <stdexcept>

namespace shared_test {

void give_up(const std::string &text) { throw std::runtime_error(text); }

Child::Child(const Body &body) {
    int down[2];
    int up[2];
    need(::pipe(down) == 0 && ::pipe(up) == 0, "pipe");
    pid_ = ::fork();
    need(pid_ >= 0, "fork");
    const bool is_child = pid_ == 0;
    in_ = is_child ? down[0] : up[0];
    out_ = is_child ? up[1] : down[1];
    ::close(is_child ? down[1] : down[0]);
    ::close(is_child ? up[0] : up[1]);
    if (!is_child) return;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    try {
        body(*this);
        ::_exit(0);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "in the other process: %s\n", error.what());
    }
    ::_exit(1);
}

Child::~Child() {
    if (pid_ > 0) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }
    ::close(in_);
    ::close(out_);
}

void Child::tell() const {
    const char byte = 1;
    need(::write(out_, &byte, 1) == 1, "the other process has ended");
}

void Child::await() const {
    char byte = 0;
    need(::read(in_, &byte, 1) == 1, "the other process has ended");
}

bool Child::is_told() const {
    pollfd waiting{in_, POLLIN, 0};
    return ::poll(&waiting, 1, 0) > 0 && (waiting.revents & POLLIN) != 0;
}

int Child::join() {
    int status = 0;
    need(::waitpid(pid_, &status, 0) == pid_, "waitpid");
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

void Child::send(int signal) const { ::kill(pid_, signal); }

void Child::skip(const std::string &why) {
    std::fprintf(stderr, "skipped: %s\n", why.c_str());
    ::_exit(skipped);
}

}  // namespace shared_test
