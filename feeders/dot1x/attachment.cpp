// SPDX-License-Identifier: Apache-2.0
#include "attachment.h"

#include <sys/socket.h>

#include <cerrno>
#include <cstring>

namespace tarn_dot1x {
namespace {

// hostapd's messages are at most 4096 bytes long.
constexpr size_t kLongestMessage = 8192;

}  // namespace

Message read_message(const std::string &datagram) {
    if (datagram == "OK\n") return {Message::Kind::attached, ""};
    if (datagram == "PONG\n") return {Message::Kind::alive, ""};
    const size_t end = datagram.find('>');
    if (!datagram.starts_with('<') || end == std::string::npos)
        return {Message::Kind::refused, datagram};
    return {Message::Kind::event, datagram.substr(end + 1)};
}

Attachment::Attachment(const std::string &path) : path_(path) {
    connect_socket(socket_, directory_.path() + "/client", path_);
}

Attachment::~Attachment() {
    // hostapd forgets a client too if it can't send to it.
    [[maybe_unused]] const ssize_t ignored =
        ::send(descriptor(), "DETACH", std::strlen("DETACH"), MSG_NOSIGNAL | MSG_DONTWAIT);
}

void Attachment::send(const std::string &command) {
    // A full queue means that hostapd doesn't read: that is silence, not an error.
    if (::send(descriptor(), command.data(), command.size(), MSG_NOSIGNAL | MSG_DONTWAIT) < 0 &&
        errno != EAGAIN)
        throw SourceError(path_ + ": " + command + " can't be sent: " + std::strerror(errno));
}

std::optional<Message> Attachment::receive() {
    std::string datagram(kLongestMessage, '\0');
    const ssize_t length = recv(descriptor(), datagram.data(), datagram.size(), MSG_DONTWAIT);
    if (length < 0 && (errno == EAGAIN || errno == EINTR)) return std::nullopt;
    if (length < 0) throw SourceError(path_ + ": " + std::strerror(errno));
    datagram.resize(size_t(length));
    return read_message(datagram);
}

}  // namespace tarn_dot1x
