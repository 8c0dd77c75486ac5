// SPDX-License-Identifier: Apache-2.0
#include "input.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

namespace tarn_ldap {
namespace {

constexpr size_t kPieceSize = 65536;
constexpr std::chrono::milliseconds kLook = std::chrono::milliseconds(100);
constexpr std::chrono::milliseconds kForever = std::chrono::milliseconds(-1);

[[noreturn]] void fail(const std::string &what) {
    throw std::system_error(errno, std::generic_category(), what);
}

// Takes SIGINT and SIGTERM from their default action and makes them readable.
Descriptor catch_signals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    if (sigprocmask(SIG_BLOCK, &signals, nullptr) != 0) fail("signals can't be blocked");
    Descriptor descriptor(signalfd(-1, &signals, SFD_CLOEXEC));
    if (descriptor.number() < 0) fail("signals can't be read");
    return descriptor;
}

}  // namespace

Descriptor &Descriptor::operator=(Descriptor &&other) noexcept {
    std::swap(number_, other.number_);
    return *this;
}

Descriptor::~Descriptor() {
    if (number_ > STDERR_FILENO) ::close(number_);
}

Input::Input(InputOptions options) : options_(std::move(options)), stop_(catch_signals()) {
    const bool standard = options_.path.empty() || options_.path == "-";
    name_ = standard ? "standard input" : options_.path;
    file_ = standard ? Descriptor(STDIN_FILENO) : try_open();
    if (file_.number() < 0) fail(name_);
    follows_file_ = options_.follow && !standard;
    if (options_.from_end && lseek(file_.number(), 0, SEEK_END) < 0) fail(name_);
}

Descriptor Input::try_open() const {
    Descriptor file(::open(options_.path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status;
    if (file.number() < 0) return file;
    if (fstat(file.number(), &status) != 0) fail(name_);
    errno = EISDIR;
    if (S_ISDIR(status.st_mode)) fail(name_);
    return file;
}

Input::Wait Input::wait(int descriptor, std::chrono::milliseconds timeout) const {
    pollfd watched[] = {{stop_.number(), POLLIN, 0}, {descriptor, POLLIN, 0}};
    int ready;
    do {
        ready = poll(watched, 2, int(timeout.count()));
    } while (ready < 0 && errno == EINTR);
    if (ready < 0) fail(name_);
    if (watched[0].revents != 0) return Wait::stopped;
    return ready > 0 ? Wait::readable : Wait::elapsed;
}

std::string Input::read_some() {
    std::string bytes(kPieceSize, '\0');
    ssize_t length;
    do {
        length = read(file_.number(), bytes.data(), bytes.size());
    } while (length < 0 && errno == EINTR);
    if (length < 0) fail(name_);
    bytes.resize(size_t(length));
    return bytes;
}

bool Input::path_names_another_file() const {
    struct stat here;
    struct stat there;
    if (fstat(file_.number(), &here) != 0) fail(name_);
    // Between the rename of one file and the creation of the next there is none of this name.
    if (stat(options_.path.c_str(), &there) != 0) return false;
    return here.st_ino != there.st_ino || here.st_dev != there.st_dev;
}

// At the end of a followed file: opens the next text if there is one.
bool Input::turn_to_new_text(bool moved) {
    if (moved) {
        Descriptor next = try_open();
        if (next.number() < 0 && errno != ENOENT) fail(name_);
        if (next.number() < 0) return false;
        file_ = std::move(next);
        return true;
    }
    struct stat status;
    if (fstat(file_.number(), &status) != 0) fail(name_);
    if (status.st_size >= lseek(file_.number(), 0, SEEK_CUR)) return false;
    if (lseek(file_.number(), 0, SEEK_SET) < 0) fail(name_);
    return true;
}

std::optional<Piece> Input::next() {
    auto last_news = std::chrono::steady_clock::now();
    while (wait(file_.number(), kForever) == Wait::readable) {
        // Checked before the read, so that the last bytes of a renamed file aren't missed.
        const bool moved = follows_file_ && path_names_another_file();
        std::string bytes = read_some();
        if (!bytes.empty()) return Piece{std::move(bytes), std::exchange(new_text_, false)};
        if (!follows_file_) return std::nullopt;
        if (turn_to_new_text(moved)) {
            new_text_ = true;
            last_news = std::chrono::steady_clock::now();
            continue;
        }
        if (options_.idle && std::chrono::steady_clock::now() - last_news >= *options_.idle)
            return std::nullopt;
        if (wait(-1, kLook) == Wait::stopped) return std::nullopt;
    }
    return std::nullopt;
}

}  // namespace tarn_ldap
