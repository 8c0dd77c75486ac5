// SPDX-License-Identifier: Apache-2.0
#include "base/output_file.h"

#include <fcntl.h>
#include <fmt/core.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "base/failure.h"

namespace tarnctl {
namespace {

// To a descriptor, through a buffer. `error` keeps the first errno of a write.
class DescriptorBuffer : public std::streambuf {
 public:
    explicit DescriptorBuffer(int descriptor) : descriptor_(descriptor), bytes_(1U << 16U) {
        setp(bytes_.data(), bytes_.data() + bytes_.size());
    }

 protected:
    int_type overflow(int_type c) override {
        if (!drain()) return traits_type::eof();
        if (!traits_type::eq_int_type(c, traits_type::eof())) sputc(traits_type::to_char_type(c));
        return traits_type::not_eof(c);
    }
    int sync() override { return drain() ? 0 : -1; }

 private:
    bool drain() {
        for (const char *at = pbase(); at < pptr();) {
            const ssize_t written = write(descriptor_, at, static_cast<std::size_t>(pptr() - at));
            if (written < 0 && errno == EINTR) continue;
            if (written < 0) return false;
            at += written;
        }
        setp(bytes_.data(), bytes_.data() + bytes_.size());
        return true;
    }

    int descriptor_;
    std::vector<char> bytes_;
};

// The file that a chain of links ends at, or the path itself if that file doesn't exist.
std::string resolved(const std::string &path) {
    char target[PATH_MAX];
    return realpath(path.c_str(), target) != nullptr ? target : path;
}

// The mode of a file that open(2) makes.
mode_t default_mode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

}  // namespace

OutputFile::OutputFile(const std::string &path) : path_(path == "-" ? "" : resolved(path)) {
    open();
    buffer_ = std::make_unique<DescriptorBuffer>(descriptor_);
    stream_.rdbuf(buffer_.get());
}

OutputFile::~OutputFile() {
    if (path_.empty() || descriptor_ < 0) return;
    close(descriptor_);
    if (!temporary_.empty()) unlink(temporary_.c_str());
}

void OutputFile::open() {
    if (path_.empty()) {
        descriptor_ = STDOUT_FILENO;
        return;
    }
    struct stat old {};
    const bool is_there = stat(path_.c_str(), &old) == 0;
    if (is_there && !S_ISREG(old.st_mode)) {
        descriptor_ = ::open(path_.c_str(), O_WRONLY | O_CLOEXEC);
        if (descriptor_ < 0) fail();
        return;
    }
    temporary_ = path_ + ".XXXXXX";
    descriptor_ = mkostemp(temporary_.data(), O_CLOEXEC);
    if (descriptor_ < 0) fail();
    // Fails on a file system without modes.
    (void)fchmod(descriptor_, is_there ? old.st_mode & 07777U : default_mode());
}

void OutputFile::finish() {
    stream_.flush();
    if (!stream_) fail();
    if (path_.empty()) return;
    // The contents reach the disk before the name, so that a crash can't leave an empty file.
    if (!temporary_.empty() && fsync(descriptor_) != 0) fail();
    if (!temporary_.empty() && std::rename(temporary_.c_str(), path_.c_str()) != 0) fail();
    temporary_.clear();
}

void OutputFile::fail() const {
    throw Failure(Exit::store, fmt::format("{}: {}", path_.empty() ? "standard output" : path_,
                                           std::strerror(errno)));
}

std::string_view suffix_of(std::string_view path) {
    const std::string_view name = path.substr(path.rfind('/') + 1);
    const std::size_t point = name.rfind('.');
    return point == std::string_view::npos ? "" : name.substr(point + 1);
}

}  // namespace tarnctl
