// SPDX-License-Identifier: Apache-2.0
//
// A client of hostapd's control sockets: one for each port, a Unix datagram socket with the
// interface's name in hostapd's ctrl_interface directory. A command is one datagram and its answer
// another one, sent to the address that the client has bound.
#ifndef FEEDERS_DOT1X_CONTROL_SOCKET_H
#define FEEDERS_DOT1X_CONTROL_SOCKET_H

#include <chrono>
#include <string>

#include "source.h"

namespace tarn_dot1x {

constexpr std::chrono::milliseconds kAnswerTime{5000};

// A directory for the client's address, removed with its contents. It is in the service's directory
// $RUNTIME_DIRECTORY, or else under $TMPDIR or /tmp, where hostapd can reach it.
class PrivateDirectory {
 public:
    PrivateDirectory();  // throws SourceError
    PrivateDirectory(const PrivateDirectory &) = delete;
    PrivateDirectory &operator=(const PrivateDirectory &) = delete;
    ~PrivateDirectory();
    const std::string &path() const { return path_; }

 private:
    std::string path_;
};

// A datagram socket, closed at the end.
class DatagramSocket {
 public:
    DatagramSocket();
    DatagramSocket(const DatagramSocket &) = delete;
    DatagramSocket &operator=(const DatagramSocket &) = delete;
    ~DatagramSocket();
    int number() const { return number_; }

 private:
    int number_;
};

// Binds a client to an address of its own and connects it to the control socket at `path`. Throws
// SourceError, naming the path.
void connect_socket(const DatagramSocket &socket, const std::string &own, const std::string &path);

class ControlSocket {
 public:
    // Throws SourceError, naming the socket, as ask does.
    explicit ControlSocket(std::string path, std::chrono::milliseconds answer_time = kAnswerTime);

    // The answer to a command.
    std::string ask(const std::string &command);
    const std::string &path() const { return path_; }

 private:
    void wait_for_answer(const std::string &command) const;
    [[noreturn]] void fail(const std::string &what) const;

    std::string path_;
    std::chrono::milliseconds answer_time_;
    PrivateDirectory directory_;
    DatagramSocket socket_;
};

// All that hostapd reports of the port of a socket.
PortAnswers ask_port(const Port &port, ControlSocket &socket);

}  // namespace tarn_dot1x

#endif
