// SPDX-License-Identifier: Apache-2.0
//
// tarn-agentx: shows the contents of a store in SNMP.
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <csignal>
#include <iostream>

#include "agentx/agent.h"
#include "agentx/settings.h"
#include "base/failure.h"
#include "base/utf8.h"
#include "cli/start.h"

namespace agentx {
namespace {

// The signals that end the program: no thread handles them.
void block_ends() {
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGTERM);
    sigaddset(&ends, SIGINT);
    pthread_sigmask(SIG_BLOCK, &ends, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

class Wake {
 public:
    Wake() : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
        if (descriptor_ < 0) throw tarnctl::Failure(tarnctl::Exit::store, "no descriptor is left");
    }
    Wake(const Wake &) = delete;
    Wake &operator=(const Wake &) = delete;
    ~Wake() { close(descriptor_); }

    int descriptor() const { return descriptor_; }
    void call() const { eventfd_write(descriptor_, 1); }

 private:
    int descriptor_;
};

void serve(const Settings &settings) {
    block_ends();
    use_no_files();
    const Wake wake;
    NotificationQueue queue(settings.most_notifications, [&wake] { wake.call(); });
    Answers answers(settings.store, settings.base, settings.tenant, queue);
    answer({settings.socket, settings.base, settings.traces}, answers, queue, wake.descriptor());
    answers.stop();
}

int fail(tarnctl::Exit code, const std::string &text) {
    std::cerr << "tarn-agentx: " << tarnctl::one_line(text) << std::endl;
    return static_cast<int>(code);
}

}  // namespace
}  // namespace agentx

int main(int argc, char **argv) {
    agentx::Settings settings;
    const auto program = agentx::make_program(settings);
    try {
        const cli::Start start = cli::start(*program, argc, argv);
        if (start.command == nullptr) return start.status;
        agentx::serve(settings);
        return 0;
    } catch (const cli::LineError &error) {
        return cli::report(*program, error);
    } catch (const tarnctl::Failure &failure) {
        return agentx::fail(failure.code(), failure.what());
    } catch (const std::exception &error) {
        return agentx::fail(tarnctl::Exit::store, error.what());
    }
}
