// SPDX-License-Identifier: Apache-2.0
#include "watch/stop.h"

#include <unistd.h>

#include <csignal>
#include <initializer_list>

namespace tarnctl {
namespace {

volatile std::sig_atomic_t was_stopped = 0;

// The alarm interrupts a wait that began after the last look at `was_stopped`.
void stop(int) {
    was_stopped = 1;
    alarm(1);
}

}  // namespace

void stop_on_signals() {
    struct sigaction action {};
    action.sa_handler = stop;
    for (const int signal : {SIGINT, SIGTERM, SIGALRM}) sigaction(signal, &action, nullptr);
}

bool stopped() { return was_stopped != 0; }

}  // namespace tarnctl
