// SPDX-License-Identifier: Apache-2.0
#include "exchange/input.h"

#include <fcntl.h>
#include <fmt/core.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "base/failure.h"

namespace tarnctl {
namespace {

constexpr std::size_t piece = 65536;

}  // namespace

Input::Input(const std::string &path)
    : name_(path == "-" ? "standard input" : path),
      descriptor_(path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)),
      buffer_(piece, '\0') {
    if (descriptor_ < 0)
        throw Failure(Exit::store, fmt::format("{}: {}", name_, std::strerror(errno)));
    struct stat about {};
    if (fstat(descriptor_, &about) == 0 && S_ISREG(about.st_mode))
        size_ = static_cast<uint64_t>(about.st_size);
}

Input::~Input() {
    if (descriptor_ != STDIN_FILENO) close(descriptor_);
}

bool Input::fill() {
    passed_ += filled_;
    at_ = filled_ = 0;
    for (;;) {
        const ssize_t count = read(descriptor_, buffer_.data(), buffer_.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0)
            throw Failure(Exit::store, fmt::format("{}: {}", name_, std::strerror(errno)));
        filled_ = static_cast<std::size_t>(count);
        return count > 0;
    }
}

std::string Input::take(std::size_t count) {
    std::string bytes;
    while (bytes.size() < count && peek() != end) {
        const std::size_t some = std::min(count - bytes.size(), filled_ - at_);
        bytes.append(buffer_, at_, some);
        at_ += some;
    }
    return bytes;
}

}  // namespace tarnctl
