// SPDX-License-Identifier: Apache-2.0
//
// Polls one server: a Status-Server packet for each subject, one after the other. A packet without
// a reply is followed by two others, with identifiers of their own, after growing pauses.
#ifndef FEEDERS_RADIUS_SERVER_WATCH_H
#define FEEDERS_RADIUS_SERVER_WATCH_H

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "common/service.h"
#include "packet.h"

namespace tarn_radius {

struct Timing {
    std::chrono::milliseconds interval{10000};  // between the end of a poll and the next one
    std::chrono::milliseconds patience{1000};   // for the first reply; then twice and four times it
};

struct ServerSettings {
    std::string name;
    Endpoint endpoint;
    std::string secret;
    std::vector<Subject> subjects;  // the first one is the server itself
};

// The result of a poll.
struct Observation {
    std::vector<Statistics> statistics = {};  // of the subjects; none if the server didn't reply
    std::string problem = {};                 // why there are none
};

class ServerWatch {
 public:
    using Call = std::function<void(const Observation &)>;

    // Polls from the loop's next round on, and calls `call` after each poll. Throws
    // std::system_error if there is no socket for the address.
    ServerWatch(feeder::Service &service, ServerSettings settings, Timing timing, Call call);
    ServerWatch(const ServerWatch &) = delete;
    ServerWatch &operator=(const ServerWatch &) = delete;
    ~ServerWatch();

 private:
    void begin();
    void query();
    void send();
    void receive();
    void take(Bytes datagram, const Endpoint &sender);
    void drop(const Endpoint &sender, const std::string &problem);
    void note(const std::string &problem);
    void give_up();
    void end();

    feeder::Service &service_;
    const ServerSettings settings_;
    const Timing timing_;
    const Call call_;
    int socket_ = -1;
    uint8_t identifier_ = 0;
    std::vector<Request> tries_;  // of the present query, each of which may be replied to
    Observation observation_;
    std::string last_problem_;  // of sending, or with a reply
    feeder::Loop::Timer timer_;
};

}  // namespace tarn_radius

#endif
