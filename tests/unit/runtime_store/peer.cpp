// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/runtime_store/peer.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>

#include "tarnbase/embedded.h"

namespace tarn::test {

Peer::Peer(PeerBody body, const char *path, const void *context) : context_(context) {
    int down[2];
    int up[2];
    if (::pipe(down) != 0 || ::pipe(up) != 0) throw std::runtime_error("pipe");
    process_ = ::fork();
    if (process_ < 0) throw std::runtime_error("fork");
    const bool is_peer = process_ == 0;
    in_ = is_peer ? down[0] : up[0];
    out_ = is_peer ? up[1] : down[1];
    ::close(is_peer ? down[1] : down[0]);
    ::close(is_peer ? up[0] : up[1]);
    if (is_peer) ::_exit(body(*this, path));
}

Peer::~Peer() {
    kill();
    ::close(in_);
    ::close(out_);
}

bool Peer::tell() const {
    const char go_on = 1;
    return ::write(out_, &go_on, 1) == 1;
}

bool Peer::await() const {
    char go_on = 0;
    return ::read(in_, &go_on, 1) == 1;
}

int Peer::join() {
    int status = 0;
    if (::waitpid(process_, &status, 0) != process_) throw std::runtime_error("waitpid");
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void Peer::kill() {
    if (process_ <= 0) return;
    ::kill(process_, SIGKILL);
    join();
}

int complain(const char *what) {
    std::fprintf(stderr, "in the other process: %s; last error: %s\n", what, kel_error_text());
    return 1;
}

}  // namespace tarn::test
