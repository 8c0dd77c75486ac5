// SPDX-License-Identifier: Apache-2.0
//
// A client of a control socket that receives hostapd's events. Nothing here waits: the answers come
// through the descriptor, as the events do.
#ifndef FEEDERS_DOT1X_ATTACHMENT_H
#define FEEDERS_DOT1X_ATTACHMENT_H

#include <optional>
#include <string>

#include "control_socket.h"

namespace tarn_dot1x {

struct Message {
    enum class Kind { attached, refused, alive, event };
    Kind kind;
    std::string text;  // of an event, without its level
};

class Attachment {
 public:
    // Throws SourceError if hostapd can't be reached, as the other members do.
    explicit Attachment(const std::string &path);
    Attachment(const Attachment &) = delete;
    Attachment &operator=(const Attachment &) = delete;
    ~Attachment();  // detaches

    int descriptor() const { return socket_.number(); }

    void send_attach() { send("ATTACH"); }
    // The answer is a message of kind `alive`.
    void send_ping() { send("PING"); }

    // The next message that is there; none if there is none.
    std::optional<Message> receive();

 private:
    void send(const std::string &command);

    const std::string path_;
    PrivateDirectory directory_;
    DatagramSocket socket_;
};

// What a datagram of hostapd means. An event begins with its level, "<3>".
Message read_message(const std::string &datagram);

}  // namespace tarn_dot1x

#endif
