// SPDX-License-Identifier: Apache-2.0
#include "common/notify.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <thread>

#include "tests/feeders/common/environment.h"
#include "tests/support/temporary_directory.h"

namespace feeder {
namespace {

// The socket of a service manager. A name that begins with '@' is in the abstract namespace.
class Manager {
 public:
    explicit Manager(std::string name) : socket_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        if (name[0] == '@') name[0] = '\0';
        std::memcpy(address.sun_path, name.data(), name.size());
        const auto length = socklen_t(offsetof(sockaddr_un, sun_path) + name.size());
        EXPECT_EQ(bind(socket_, reinterpret_cast<const sockaddr *>(&address), length), 0);
    }
    Manager(const Manager &) = delete;
    Manager &operator=(const Manager &) = delete;
    ~Manager() { close(socket_); }

    // The next message; "" if there is none within a minute.
    std::string next() const {
        pollfd ready{socket_, POLLIN, 0};
        if (poll(&ready, 1, 60'000) != 1) return "";
        return received(0);
    }
    // "" if there is none.
    std::string present() const { return received(MSG_DONTWAIT); }

 private:
    std::string received(int flags) const {
        char buffer[512];
        const ssize_t size = recv(socket_, buffer, sizeof buffer, flags);
        return size < 0 ? "" : std::string(buffer, size_t(size));
    }

    const int socket_;
};

class Notifiers : public testing::Test {
 protected:
    tarn::test::TemporaryDirectory directory;
    std::string path = directory / "notify";
    Environment environment;
};

TEST_F(Notifiers, SendADatagramForEachReport) {
    const Manager manager(path);
    environment.set("NOTIFY_SOCKET", path);
    const Notifier notifier;
    notifier.ready();
    notifier.status("3 ports");
    notifier.alive();
    notifier.stopping();
    for (const char *expected : {"READY=1", "STATUS=3 ports", "WATCHDOG=1", "STOPPING=1"})
        EXPECT_EQ(manager.next(), expected);
    EXPECT_EQ(manager.present(), "");
}

TEST_F(Notifiers, ReachASocketInTheAbstractNamespace) {
    const std::string name = "@" + path;
    const Manager manager(name);
    environment.set("NOTIFY_SOCKET", name);
    Notifier().ready();
    EXPECT_EQ(manager.next(), "READY=1");
}

TEST_F(Notifiers, DoNothingWithoutAManager) {
    Notifier().ready();
    for (const std::string &name : {path, std::string("relative"), std::string(200, '/')}) {
        environment.set("NOTIFY_SOCKET", name);
        Notifier().ready();
    }
}

TEST_F(Notifiers, WaitForAManagerThatIsSlowToReadOnlyWhenReady) {
    const Manager manager(path);
    environment.set("NOTIFY_SOCKET", path);
    const Notifier notifier;
    // Many more than the socket takes.
    for (int i = 0; i < 5000; ++i) notifier.alive();
    std::thread thread([&] { notifier.ready(); });
    std::string last = manager.next();
    while (last == "WATCHDOG=1") last = manager.next();
    EXPECT_EQ(last, "READY=1");
    thread.join();
}

TEST_F(Notifiers, ReportTwiceInTheTimeThatTheManagerWaits) {
    environment.set("WATCHDOG_USEC", "3000000");
    EXPECT_EQ(Notifier().interval(), std::nullopt);
    environment.set("NOTIFY_SOCKET", path);
    EXPECT_EQ(Notifier().interval(), std::chrono::milliseconds(1500));
    environment.set("WATCHDOG_PID", std::to_string(getpid()));
    EXPECT_EQ(Notifier().interval(), std::chrono::milliseconds(1500));
    environment.set("WATCHDOG_PID", std::to_string(getppid()));
    EXPECT_EQ(Notifier().interval(), std::nullopt);
}

TEST_F(Notifiers, ReportNothingAtATimeThatIsMalformed) {
    environment.set("NOTIFY_SOCKET", path);
    for (const char *wrong : {"", "0", "-1", "x", "3s"}) {
        environment.set("WATCHDOG_USEC", wrong);
        EXPECT_EQ(Notifier().interval(), std::nullopt) << wrong;
    }
}

}  // namespace
}  // namespace feeder
