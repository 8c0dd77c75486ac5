// SPDX-License-Identifier: Apache-2.0
#include "exporter/past.h"

#include <fcntl.h>
#include <fmt/core.h>
#include <poll.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstring>
#include <iostream>
#include <iterator>
#include <memory>
#include <optional>

#include "exporter/failure.h"
#include "exporter/past_answer.h"

namespace exporter {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::size_t most_bytes = 256 << 20;  // of an answer
constexpr milliseconds between_looks{100};     // at whether the program ends

[[noreturn]] void fail(const char *what) {
    throw ApiError(503, fmt::format("{}: {}", what, std::strerror(errno)));
}

// The number of bytes, a colon and the bytes.
void add_word(std::string &bytes, const std::string &word) {
    bytes += fmt::format("{}:{}", word.size(), word);
}

class WordReader {
 public:
    explicit WordReader(const std::string &bytes) : rest_(bytes) {}

    bool at_end() const { return rest_.empty(); }
    std::string next() {
        std::size_t size = 0;
        const auto read = std::from_chars(rest_.data(), rest_.data() + rest_.size(), size);
        const auto digits = static_cast<std::size_t>(read.ptr - rest_.data());
        if (read.ec != std::errc() || digits >= rest_.size() || rest_[digits] != ':' ||
            size > rest_.size() - digits - 1)
            throw ApiError(400, "expected words with their lengths");
        std::string word(rest_.substr(digits + 1, size));
        rest_.remove_prefix(digits + 1 + size);
        return word;
    }

 private:
    std::string_view rest_;
};

struct Pipe {
    int ends[2] = {-1, -1};

    Pipe() {
        if (pipe2(ends, O_CLOEXEC) != 0) fail("a pipe");
    }
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;
    ~Pipe() {
        close_end(0);
        close_end(1);
    }
    void close_end(int which) {
        if (ends[which] >= 0) ::close(ends[which]);
        ends[which] = -1;
    }
};

// This program, as a process that answers one request. It is killed in the end.
class Process {
 public:
    Process() {
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_adddup2(&files, in_.ends[0], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&files, out_.ends[1], STDOUT_FILENO);
        posix_spawn_file_actions_addclosefrom_np(&files, STDERR_FILENO + 1);
        posix_spawnattr_t attributes;
        posix_spawnattr_init(&attributes);
        set_signals(attributes);
        std::string name = past_program;
        char *const arguments[] = {name.data(), nullptr};
        errno = posix_spawn(&id_, "/proc/self/exe", &files, &attributes, arguments, environ);
        const bool has_failed = errno != 0;
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&files);
        if (has_failed) fail("a process for the past");
        in_.close_end(0);
        out_.close_end(1);
    }
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;
    ~Process() {
        kill(id_, SIGKILL);
        while (waitpid(id_, nullptr, 0) < 0 && errno == EINTR) continue;
    }

    // A request is shorter than a pipe takes at once.
    void write(const std::string &bytes) {
        const ssize_t written = ::write(in_.ends[1], bytes.data(), bytes.size());
        if (written != static_cast<ssize_t>(bytes.size())) fail("a process for the past");
        in_.close_end(1);
    }
    int output() const { return out_.ends[0]; }

 private:
    // The ones that this program blocks or ignores.
    static void set_signals(posix_spawnattr_t &attributes) {
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes, &signals);
        sigaddset(&signals, SIGPIPE);
        posix_spawnattr_setsigdefault(&attributes, &signals);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }

    Pipe in_;
    Pipe out_;
    pid_t id_ = -1;
};

// Reads what there is. False: it was the end.
bool read_some(int file, std::string &bytes) {
    char buffer[65536];
    const ssize_t got = ::read(file, buffer, sizeof buffer);
    if (got < 0 && errno != EINTR) fail("a process for the past");
    if (got > 0) bytes.append(buffer, static_cast<std::size_t>(got));
    return got != 0;
}

// All bytes up to the end; none if it is too late, or they are too many.
std::optional<std::string> read_all(int file, Clock::time_point end,
                                    const std::atomic<bool> &is_stopping) {
    std::string bytes;
    while (!is_stopping && bytes.size() < most_bytes && Clock::now() < end) {
        pollfd ready{file, POLLIN, 0};
        if (poll(&ready, 1, static_cast<int>(between_looks.count())) == 0) continue;
        if (!read_some(file, bytes)) return bytes;
    }
    return std::nullopt;
}

// "200\n" and the body.
Response response_of(const std::string &bytes) {
    int status = 0;
    const auto read = std::from_chars(bytes.data(), bytes.data() + bytes.size(), status);
    const auto digits = static_cast<std::size_t>(read.ptr - bytes.data());
    if (read.ec != std::errc() || digits >= bytes.size())
        throw ApiError(503, "the process for the past has ended without an answer");
    return {.status = status,
            .body = bytes.substr(digits + 1),
            .headers = {{"Cache-Control", "no-store"}}};
}

}  // namespace

std::string bytes_of(const PastRequest &request) {
    std::string bytes;
    add_word(bytes, request.folder);
    add_word(bytes, request.store);
    add_word(bytes, std::to_string(request.path.size()));
    for (const std::string &each : request.path) add_word(bytes, each);
    for (const auto &[name, value] : request.request.parameters) {
        add_word(bytes, name);
        add_word(bytes, value);
    }
    return bytes;
}

PastRequest past_request_of(const std::string &bytes) {
    WordReader words(bytes);
    PastRequest request{words.next(), words.next(), {}, {}};
    for (std::size_t left = std::stoul(words.next()); left > 0; --left)
        request.path.push_back(words.next());
    while (!words.at_end()) {
        const std::string name = words.next();
        request.request.parameters.emplace(name, words.next());
    }
    return request;
}

Response Past::answer(const PastRequest &request) {
    const std::shared_ptr<void> counted(nullptr, [this](void *) { --processes_; });
    if (++processes_ > limits_.processes)
        return busy_response("there are too many requests about the past; try again later");
    const Clock::time_point end = Clock::now() + limits_.time;
    Process process;
    process.write(bytes_of(request));
    const auto bytes = read_all(process.output(), end, is_stopping_);
    if (bytes) return response_of(*bytes);
    return error_response(503, fmt::format("that takes longer than {} s, or is too long: choose "
                                           "less, for a history with `since` or `limit`",
                                           limits_.time.count()));
}

int answer_about_past() {
    // As long as the exporter waits for it.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    prctl(PR_SET_NAME, past_program);
    const std::string bytes{std::istreambuf_iterator<char>(std::cin), {}};
    Response response;
    try {
        response = past_response(past_request_of(bytes));
    } catch (...) {
        response = failure_response();
    }
    std::cout << response.status << '\n' << response.body << std::flush;
    return std::cout ? 0 : 1;
}

}  // namespace exporter
