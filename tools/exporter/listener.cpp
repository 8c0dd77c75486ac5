// SPDX-License-Identifier: Apache-2.0
#include "exporter/listener.h"

#include <fmt/core.h>
#include <httplib.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <thread>
#include <utility>

#include "base/failure.h"
#include "cli/target.h"

namespace exporter {
namespace {

constexpr std::string_view unix_front = "unix:";
constexpr std::time_t seconds_to_send = 5;  // for a client that sends or reads slowly
constexpr std::size_t most_body_bytes = 4096;

Request request_of(const httplib::Request &from) {
    Request request;
    request.method = from.method;
    request.target = from.target.substr(0, from.target.find('?'));
    request.parameters = {from.params.begin(), from.params.end()};
    request.host = from.get_header_value("Host");
    request.accept = from.get_header_value("Accept");
    request.authorization = from.get_header_value("Authorization");
    request.last_event_id = from.get_header_value("Last-Event-ID");
    request.if_none_match = from.get_header_value("If-None-Match");
    return request;
}

void fill(httplib::Response &to, Response response) {
    to.status = response.status;
    for (const auto &[name, value] : response.headers) to.set_header(name, value);
    if (response.next_piece == nullptr) {
        to.set_content(std::move(response.body), response.type);
        return;
    }
    to.set_chunked_content_provider(response.type, [next = std::move(response.next_piece)](
                                                       std::size_t, httplib::DataSink &sink) {
        std::string piece;
        if (!next(piece)) {
            sink.done();
            return true;
        }
        return piece.empty() || sink.write(piece.data(), piece.size());
    });
}

// A socket that a process left when it was killed would be in the way.
void remove_dead_socket(const std::string &path) {
    struct stat facts {};
    if (lstat(path.c_str(), &facts) != 0 || !S_ISSOCK(facts.st_mode)) return;
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    path.copy(name.sun_path, sizeof name.sun_path - 1);
    const int probe = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool is_dead =
        connect(probe, reinterpret_cast<const sockaddr *>(&name), sizeof name) != 0 &&
        errno == ECONNREFUSED;
    ::close(probe);
    if (is_dead) unlink(path.c_str());
}

}  // namespace

std::string ListenAddress::text() const {
    if (is_unix) return std::string(unix_front) + host;
    const bool is_ipv6 = host.find(':') != std::string::npos;
    return is_ipv6 ? fmt::format("[{}]:{}", host, port) : fmt::format("{}:{}", host, port);
}

bool ListenAddress::is_local() const {
    return is_unix || host == "::1" || host == "localhost" || host.starts_with("127.");
}

ListenAddress ListenAddress::parse(const std::string &text) {
    const cli::UsageError wrong("expected ADDRESS:PORT, [ADDRESS]:PORT or unix:PATH");
    if (text.starts_with(unix_front)) {
        const std::string path = text.substr(unix_front.size());
        if (path.empty() || path.size() >= sizeof sockaddr_un::sun_path) throw wrong;
        return {path, 0, true};
    }
    const std::size_t colon = text.rfind(':');
    if (colon == std::string::npos || colon == 0) throw wrong;
    std::string host = text.substr(0, colon);
    if (host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
    else if (host.find(':') != std::string::npos) throw wrong;
    uint16_t port = 0;
    const char *end = text.data() + text.size();
    const auto read = std::from_chars(text.data() + colon + 1, end, port);
    if (host.empty() || read.ec != std::errc() || read.ptr != end) throw wrong;
    return {host, port, false};
}

struct Listener::Server {
    ListenAddress address;
    Answer answer;
    httplib::Server http;
    std::thread thread;

    void prepare(std::size_t threads) {
        http.new_task_queue = [threads] { return new httplib::ThreadPool(threads); };
        http.set_read_timeout(seconds_to_send);
        http.set_write_timeout(seconds_to_send);
        http.set_keep_alive_timeout(seconds_to_send);
        // A page is dozens of small files: each would wait for the client's acknowledgement.
        http.set_keep_alive_max_count(1000);
        http.set_tcp_nodelay(true);
        http.set_payload_max_length(most_body_bytes);
        // Without the library's own choice, which shares a port with other programs.
        http.set_socket_options([](socket_t descriptor) {
            const int on = 1;
            setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        });
        http.set_pre_routing_handler([this](const httplib::Request &from, httplib::Response &to) {
            fill(to, answer(request_of(from)));
            return httplib::Server::HandlerResponse::Handled;
        });
        if (address.is_unix) http.set_address_family(AF_UNIX);
    }

    bool bind() {
        // The port of a Unix socket isn't used, but 0 would be refused.
        if (address.is_unix) return http.bind_to_port(address.host, 80);
        if (address.port != 0) return http.bind_to_port(address.host, address.port);
        address.port = http.bind_to_any_port(address.host);
        return address.port > 0;
    }
};

Listener::Listener(ListenAddress address, std::size_t threads, Answer answer)
    : server_(std::make_unique<Server>()) {
    server_->address = std::move(address);
    server_->answer = std::move(answer);
    if (server_->address.is_unix) remove_dead_socket(server_->address.host);
    server_->prepare(threads);
    errno = 0;
    if (!server_->bind())
        throw tarnctl::Failure(tarnctl::Exit::store,
                               fmt::format("{}: can't listen: {}", server_->address.text(),
                                           errno != 0 ? std::strerror(errno) : "no such address"));
    server_->thread = std::thread([server = server_.get()] { server->http.listen_after_bind(); });
}

Listener::~Listener() {
    while (!server_->http.is_running()) std::this_thread::yield();
    server_->http.stop();
    server_->thread.join();
    if (server_->address.is_unix) unlink(server_->address.host.c_str());
}

const ListenAddress &Listener::address() const { return server_->address; }

}  // namespace exporter
