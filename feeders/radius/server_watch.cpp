// SPDX-License-Identifier: Apache-2.0
#include "server_watch.h"

#include <sys/random.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

namespace tarn_radius {
namespace {

constexpr size_t kTries = 3;
// So many are read before the other events, whoever sends them.
constexpr int kDatagramsAtOnce = 16;

void fill_at_random(std::span<uint8_t> bytes) {
    // So few bytes are never a part of them, and no signal interrupts.
    if (getrandom(bytes.data(), bytes.size(), 0) != ssize_t(bytes.size()))
        throw std::system_error(errno, std::generic_category(), "getrandom");
}

}  // namespace

ServerWatch::ServerWatch(feeder::Service &service, ServerSettings settings, Timing timing,
                         Call call)
    : service_(service), settings_(std::move(settings)), timing_(timing), call_(std::move(call)) {
    fill_at_random({&identifier_, 1});
    socket_ = socket(settings_.endpoint.family(), SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (socket_ < 0)
        throw std::system_error(errno, std::generic_category(), settings_.name + ": socket");
    service_.loop.watch(socket_, [this] { receive(); });
    timer_ = service_.loop.after(std::chrono::milliseconds(0), [this] { begin(); });
}

ServerWatch::~ServerWatch() {
    service_.loop.cancel(timer_);
    service_.loop.forget(socket_);
    close(socket_);
}

void ServerWatch::begin() {
    observation_ = {};
    last_problem_.clear();
    query();
}

void ServerWatch::query() {
    if (observation_.statistics.size() == settings_.subjects.size()) return end();
    tries_.clear();
    send();
}

// A packet that can't be sent is like one that is lost.
void ServerWatch::send() {
    if (tries_.size() == kTries) return give_up();
    Request request{++identifier_, {}};
    fill_at_random(request.authenticator);
    const auto packet =
        make_request(request, settings_.subjects[observation_.statistics.size()], settings_.secret);
    const auto patience = timing_.patience * (1 << tries_.size());
    tries_.push_back(request);
    if (sendto(socket_, packet.data(), packet.size(), 0, settings_.endpoint.data(),
               settings_.endpoint.size()) < 0)
        note(std::string("a request can't be sent: ") + std::strerror(errno));
    timer_ = service_.loop.after(patience, [this] { send(); });
}

void ServerWatch::receive() {
    std::array<uint8_t, kLongestPacket> buffer;
    for (int datagrams = 0; datagrams < kDatagramsAtOnce; ++datagrams) {
        sockaddr_storage sender{};
        socklen_t size = sizeof sender;
        const ssize_t count = recvfrom(socket_, buffer.data(), buffer.size(), 0,
                                       reinterpret_cast<sockaddr *>(&sender), &size);
        if (count < 0) return;
        take(Bytes(buffer).first(size_t(count)), Endpoint(sender));
    }
}

void ServerWatch::take(Bytes datagram, const Endpoint &sender) {
    if (!(sender == settings_.endpoint)) return drop(sender, "it isn't from the server");
    const auto identifier = identifier_of(datagram);
    const auto request = std::ranges::find_if(
        tries_, [&](const Request &each) { return each.identifier == identifier; });
    if (request == tries_.end()) return drop(sender, "its identifier is of no request");
    Reply reply = read_reply(datagram, *request, settings_.secret);
    if (!reply.problem.empty()) return drop(sender, reply.problem);
    service_.loop.cancel(timer_);
    observation_.statistics.push_back(std::move(reply.statistics));
    query();
}

void ServerWatch::drop(const Endpoint &sender, const std::string &problem) {
    note("a reply from " + sender.text() + " was dropped: " + problem);
}

void ServerWatch::note(const std::string &problem) {
    last_problem_ = problem;
    service_.log.debug(settings_.name + ": " + problem);
}

void ServerWatch::give_up() {
    observation_ = {{}, "no reply from " + settings_.endpoint.text()};
    if (!last_problem_.empty()) observation_.problem += "; " + last_problem_;
    end();
}

void ServerWatch::end() {
    tries_.clear();
    timer_ = service_.loop.after(timing_.interval, [this] { begin(); });
    call_(observation_);
}

}  // namespace tarn_radius
