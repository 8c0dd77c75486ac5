// SPDX-License-Identifier: Apache-2.0
//
// tarn-agentx: shows the contents of a store in SNMP.
#include <sys/eventfd.h>
#include <unistd.h>

#include "agentx/agent.h"
#include "agentx/settings.h"
#include "base/daemon.h"
#include "base/failure.h"

namespace agentx {
namespace {

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
    tarnctl::block_end_signals();
    use_no_files();
    const Wake wake;
    NotificationQueue queue(settings.most_notifications, [&wake] { wake.call(); });
    Answers answers(settings.store, settings.base, settings.tenant, queue);
    answer({settings.socket, settings.base, settings.traces}, answers, queue, wake.descriptor());
    answers.stop();
}

}  // namespace
}  // namespace agentx

int main(int argc, char **argv) {
    agentx::Settings settings;
    const auto program = agentx::make_program(settings);
    return tarnctl::run_daemon(*program, argc, argv, [&settings] { agentx::serve(settings); });
}
