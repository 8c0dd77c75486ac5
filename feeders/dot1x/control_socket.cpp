// SPDX-License-Identifier: Apache-2.0
#include "control_socket.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>
#include <utility>

namespace tarn_dot1x {
namespace {

// hostapd's replies are at most 4096 bytes long.
constexpr size_t kLongestAnswer = 65536;
constexpr const char *kFail = "FAIL\n";
constexpr const char *kUnknownCommand = "UNKNOWN COMMAND\n";
// How often a walk is restarted after its current station has left.
constexpr int kMostWalks = 5;

// Binds or connects a socket to a path.
template <class Function>
bool use_path(Function function, int socket, const std::string &path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    errno = ENAMETOOLONG;
    if (path.size() >= sizeof address.sun_path) return false;
    std::memcpy(address.sun_path, path.data(), path.size());
    return function(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
}

std::string expect_answer(ControlSocket &socket, const std::string &command) {
    std::string answer = socket.ask(command);
    if (answer != kFail && answer != kUnknownCommand) return answer;
    throw SourceError(socket.path() + ": hostapd answers \"" + answer.substr(0, answer.size() - 1) +
                      "\" to " + command);
}

std::string address_in(const std::string &station) { return station.substr(0, station.find('\n')); }

// Returns false if a station left during the walk, which then can't continue.
bool walk(ControlSocket &socket, std::vector<Text> &stations) {
    stations.clear();
    std::set<std::string> met;
    std::string command = "STA-FIRST";
    for (std::string answer = expect_answer(socket, command); !answer.empty();
         answer = socket.ask(command)) {
        if (answer == kFail || answer == kUnknownCommand) return false;
        const std::string address = address_in(answer);
        if (!met.insert(address).second) return false;
        stations.push_back({socket.path() + " " + command, std::move(answer)});
        command = "STA-NEXT " + address;
    }
    return true;
}

}  // namespace

PrivateDirectory::PrivateDirectory() {
    // The service's /tmp is its own, so hostapd couldn't send there.
    const char *runtime = std::getenv("RUNTIME_DIRECTORY");
    std::error_code error;
    const std::filesystem::path base =
        runtime != nullptr ? runtime : std::filesystem::temp_directory_path(error);
    if (error) throw SourceError("no directory for temporary files: " + error.message());
    path_ = (base / "tarn-dot1x-XXXXXX").string();
    if (mkdtemp(path_.data()) == nullptr) throw SourceError(path_ + ": " + std::strerror(errno));
}

PrivateDirectory::~PrivateDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

DatagramSocket::DatagramSocket() : number_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {}

DatagramSocket::~DatagramSocket() {
    if (number_ >= 0) close(number_);
}

void connect_socket(const DatagramSocket &socket, const std::string &own, const std::string &path) {
    const auto fail = [&path](const std::string &what) {
        throw SourceError(path + ": " + what + std::strerror(errno));
    };
    if (socket.number() < 0) fail("no socket: ");
    if (!use_path(bind, socket.number(), own)) fail(own + ": ");
    if (!use_path(connect, socket.number(), path)) fail("hostapd can't be reached: ");
}

ControlSocket::ControlSocket(std::string path, std::chrono::milliseconds answer_time)
    : path_(std::move(path)), answer_time_(answer_time) {
    connect_socket(socket_, directory_.path() + "/client", path_);
}

void ControlSocket::fail(const std::string &what) const { throw SourceError(path_ + ": " + what); }

void ControlSocket::wait_for_answer(const std::string &command) const {
    pollfd watched{socket_.number(), POLLIN, 0};
    int ready;
    do {
        ready = ::poll(&watched, 1, int(answer_time_.count()));
    } while (ready < 0 && errno == EINTR);
    if (ready < 0) fail(std::strerror(errno));
    if (ready == 0)
        fail("hostapd gives no answer to " + command + " within " +
             std::to_string(answer_time_.count()) + " ms");
}

std::string ControlSocket::ask(const std::string &command) {
    if (send(socket_.number(), command.data(), command.size(), MSG_NOSIGNAL) < 0)
        fail(command + " can't be sent: " + std::strerror(errno));
    wait_for_answer(command);
    std::string answer(kLongestAnswer, '\0');
    const ssize_t length = recv(socket_.number(), answer.data(), answer.size(), MSG_TRUNC);
    if (length < 0) fail(std::string("no answer to ") + command + ": " + std::strerror(errno));
    if (size_t(length) > answer.size()) fail("the answer to " + command + " is too long");
    answer.resize(size_t(length));
    return answer;
}

PortAnswers ask_port(const Port &port, ControlSocket &socket) {
    PortAnswers answers;
    answers.port = port;
    answers.status = {socket.path() + " STATUS", expect_answer(socket, "STATUS")};
    answers.mib = {socket.path() + " MIB", expect_answer(socket, "MIB")};
    answers.stations_a_text = Stations::one;
    for (int walks = 0; !walk(socket, answers.stations);)
        if (++walks == kMostWalks)
            throw SourceError(socket.path() +
                              ": the list of stations changes faster than it can be read");
    return answers;
}

}  // namespace tarn_dot1x
