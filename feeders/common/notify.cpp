// SPDX-License-Identifier: Apache-2.0
#include "common/notify.h"

#include <sys/un.h>
#include <unistd.h>

#include <charconv>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace feeder {
namespace {

std::string_view variable(const char *name) {
    const char *value = std::getenv(name);
    return value == nullptr ? "" : value;
}

template <class Number>
std::optional<Number> number_in(const char *name) {
    const std::string_view text = variable(name);
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

// None if the manager doesn't watch, or watches another process.
std::optional<std::chrono::milliseconds> watchdog_interval() {
    const auto limit = number_in<int64_t>("WATCHDOG_USEC");
    const auto process = number_in<pid_t>("WATCHDOG_PID");
    if (!limit || *limit <= 0 || (process && *process != getpid())) return std::nullopt;
    return std::chrono::milliseconds(std::max<int64_t>(*limit / 2000, 1));
}

}  // namespace

Notifier::Notifier() : address_(variable("NOTIFY_SOCKET")), interval_(watchdog_interval()) {
    // A path, or a name in the abstract namespace, which begins with a zero byte there.
    const bool usable = address_.size() > 1 && address_.size() < sizeof(sockaddr_un::sun_path) &&
                        (address_[0] == '/' || address_[0] == '@');
    if (!usable) {
        interval_.reset();
        return;
    }
    if (address_[0] == '@') address_[0] = '\0';
    socket_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
}

Notifier::~Notifier() {
    if (socket_ >= 0) close(socket_);
}

void Notifier::send(const std::string &text, int flags) const {
    if (socket_ < 0) return;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, address_.data(), address_.size());
    const auto length = socklen_t(offsetof(sockaddr_un, sun_path) + address_.size());
    [[maybe_unused]] const ssize_t ignored =
        sendto(socket_, text.data(), text.size(), MSG_NOSIGNAL | flags,
               reinterpret_cast<const sockaddr *>(&address), length);
}

}  // namespace feeder
