// SPDX-License-Identifier: Apache-2.0
//
// An address that HTTP is served on, by threads of its own.
#ifndef TOOLS_EXPORTER_LISTENER_H
#define TOOLS_EXPORTER_LISTENER_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "exporter/message.h"

namespace exporter {

// "127.0.0.1:9595", "[::1]:9595" or "unix:/run/tarn.socket".
struct ListenAddress {
    std::string host;  // or the path of the socket
    int port = 0;      // 0: any that is free
    bool is_unix = false;

    std::string text() const;
    // Only this machine reaches it.
    bool is_local() const;
    // Throws cli::UsageError.
    static ListenAddress parse(const std::string &text);
};

class Listener {
 public:
    using Answer = std::function<Response(const Request &)>;

    // Listens from now on. `threads` answer requests, and each stream needs one as long as it is
    // open. Failure `store` if the address can't be used.
    Listener(ListenAddress address, std::size_t threads, Answer answer);
    Listener(const Listener &) = delete;
    Listener &operator=(const Listener &) = delete;
    // Waits for the answers under way: streams must have been ended.
    ~Listener();

    // With the port that was chosen.
    const ListenAddress &address() const;

 private:
    struct Server;
    std::unique_ptr<Server> server_;
};

}  // namespace exporter

#endif
