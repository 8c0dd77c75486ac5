// SPDX-License-Identifier: Apache-2.0
#include "base/daemon.h"

#include <fmt/core.h>
#include <pthread.h>

#include <exception>
#include <iostream>

#include "base/failure.h"
#include "cli/start.h"
#include "cli/utf8.h"

namespace tarnctl {

sigset_t block_end_signals() {
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGTERM);
    sigaddset(&ends, SIGINT);
    pthread_sigmask(SIG_BLOCK, &ends, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    return ends;
}

void report_line(const std::string &program, const std::string &text) {
    std::cerr << fmt::format("{}: {}\n", program, cli::one_line(text));
}

int run_daemon(const cli::Command &program, int argc, char **argv,
               const std::function<void()> &serve) {
    const auto fail = [&program](Exit code, const char *text) {
        report_line(program.name, text);
        return static_cast<int>(code);
    };
    try {
        const cli::Start start = cli::start(program, argc, argv);
        if (start.command == nullptr) return start.status;
        serve();
        return 0;
    } catch (const cli::LineError &error) {
        return cli::report(program, error);
    } catch (const Failure &failure) {
        return fail(failure.code(), failure.what());
    } catch (const std::exception &error) {
        return fail(Exit::store, error.what());
    }
}

}  // namespace tarnctl
